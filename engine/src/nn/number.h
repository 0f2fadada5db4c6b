#pragma once

// The numbers that networks compute with.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace telvar::nn {

/// What activations and their gradients are stored in. Sums, weights that are trained, statistics
/// and answers are always of single precision.
enum class Number { kFloat, kBfloat16 };

/// The upper half of an IEEE 754 single, as bits.
using bfloat16 = std::uint16_t;

constexpr std::size_t size_of(Number number) {
  return number == Number::kFloat ? sizeof(float) : sizeof(bfloat16);
}

/// Rounds to nearest, ties to even. Infinities stay; NaN is not kept.
inline bfloat16 to_bfloat16(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return static_cast<bfloat16>((bits + 0x7FFFu + (bits >> 16 & 1u)) >> 16);
}

inline float to_float(bfloat16 value) {
  const std::uint32_t bits = std::uint32_t{value} << 16;
  float result;
  std::memcpy(&result, &bits, sizeof result);
  return result;
}

}  // namespace telvar::nn
