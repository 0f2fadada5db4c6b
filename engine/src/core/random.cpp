#include "core/random.h"

#include <cmath>

namespace telvar::core {
namespace {

/// SplitMix64 (Steele, Lea and Flood, 2014).
std::uint64_t split_mix(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9E3779B97F4A7C15u);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  return z ^ (z >> 31);
}

std::uint64_t rotated(std::uint64_t value, int bits) {
  return (value << bits) | (value >> (64 - bits));
}

}  // namespace

Random::Random(std::initializer_list<std::uint64_t> key) {
  std::uint64_t state = key.size();
  for (const std::uint64_t part : key) state = split_mix(state) ^ part;
  for (std::uint64_t& word : state_) word = split_mix(state);
}

std::uint64_t Random::next() {
  const std::uint64_t result = rotated(state_[1] * 5, 7) * 9;
  const std::uint64_t shifted = state_[1] << 17;
  state_[2] ^= state_[0];
  state_[3] ^= state_[1];
  state_[1] ^= state_[2];
  state_[0] ^= state_[3];
  state_[2] ^= shifted;
  state_[3] = rotated(state_[3], 45);
  return result;
}

float Random::uniform() {
  return static_cast<float>(next() >> 40) * 0x1p-24f;
}

int Random::below(int n) {
  return static_cast<int>(((next() >> 32) * static_cast<std::uint64_t>(n)) >> 32);
}

float Random::normal() {
  // Box and Muller (1958); 1 - uniform() is never 0.
  const float radius = std::sqrt(-2.0f * std::log(1.0f - uniform()));
  return radius * std::cos(6.2831853f * uniform());
}

}  // namespace telvar::core
