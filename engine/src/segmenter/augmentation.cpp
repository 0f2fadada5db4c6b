#include "segmenter/augmentation.h"

#include <cmath>

namespace telvar::segmenter {
namespace {

/// Quarter turns are the exception, so that categories told apart by their direction
/// stay learnable.
constexpr float kLargestTurn = 0.3F;        // radians
constexpr float kLargestStretch = 0.2F;     // log scale
constexpr float kQuarterTurnShare = 0.25F;  // of the crops
constexpr float kLargestGain = 0.25F;       // of contrast
constexpr float kLargestOffset = 0.25F;     // of brightness, in deviations of the luma
constexpr float kLargestNoise = 0.2F;       // likewise

/// A wave of light across the crop, in deviations of the luma and crop pixels.
constexpr float kLargestWave = 0.7F;
constexpr float kShortestWave = 50.0F, kLongestWave = 250.0F;

/// Uniform noise of the same variance as the normal deviate it stands for, at a third of its cost.
float noise(core::Random& random) {
  return (random.uniform() - 0.5F) * 3.4641016F;
}

}  // namespace

CropTransform draw_transform(float x, float y, int side, core::Random& random) {
  float angle = random.uniform(-kLargestTurn, kLargestTurn);
  if (random.chance(kQuarterTurnShare)) angle += 1.5707963F;
  const float scale = std::exp(random.uniform(-kLargestStretch, kLargestStretch));
  const float flip_x = random.chance(0.5F) ? -scale : scale;
  const float flip_y = random.chance(0.5F) ? -scale : scale;
  CropTransform t{std::cos(angle) * flip_x, -std::sin(angle) * flip_y, 0,
                  std::sin(angle) * flip_x, std::cos(angle) * flip_y,  0};
  const float middle = (side - 1) / 2.0F;
  t.c = x - 0.5F - (t.a + t.b) * middle;
  t.f = y - 0.5F - (t.d + t.e) * middle;
  return t;
}

void vary_light(std::vector<float>& pixels, std::size_t area, float deviation,
                core::Random& random) {
  const float gain = 1 + random.uniform(-kLargestGain, kLargestGain);
  const float offset = random.uniform(-kLargestOffset, kLargestOffset) * deviation;
  const float strength = random.uniform(0, kLargestNoise) * deviation;
  double sum = 0;
  for (float value : pixels) sum += value;
  const auto mean = static_cast<float>(sum / static_cast<double>(pixels.size()));
  for (std::size_t i = 0; i < area; ++i) {
    const float added = mean + offset + strength * noise(random);
    for (std::size_t at = i; at < pixels.size(); at += area) {
      pixels[at] = (pixels[at] - mean) * gain + added;
    }
  }
}

void add_wave(std::vector<float>& pixels, int side, float deviation, core::Random& random) {
  constexpr float kTurn = 6.2831853F;
  const float strength = random.uniform(0, kLargestWave) * deviation;
  const float frequency = kTurn / random.uniform(kShortestWave, kLongestWave);
  const float heading = random.uniform(0, kTurn), phase = random.uniform(0, kTurn);
  const float across = frequency * std::cos(heading), down = frequency * std::sin(heading);
  const std::size_t area = std::size_t(side) * side;
  for (std::size_t i = 0; i < area; ++i) {
    const auto x = static_cast<float>(i % side), y = static_cast<float>(i / side);
    const float added = strength * std::sin(across * x + down * y + phase);
    for (std::size_t at = i; at < pixels.size(); at += area) pixels[at] += added;
  }
}

}  // namespace telvar::segmenter
