#include "classifier/samples/augmentation.h"

#include <algorithm>
#include <cmath>

#include "core/bilinear.h"

namespace telvar::classifier {
namespace {

/// How far a sample is changed at most, at strength 1; each change is drawn evenly up to its limit.
/// The limits are two of 28 pixels, seven degrees, a tenth of the size and a sixth of the light.
constexpr float kMaxShift = 0.07f;  // of the canvas' side
constexpr float kMaxTurn = 0.12f;   // radians
constexpr float kHalfTurn = 3.14159265f;
constexpr float kMaxScale = 0.1f;    // natural logarithm
constexpr float kMaxGain = 0.15f;    // natural logarithm
constexpr float kMaxOffset = 0.08f;  // of white

/// Canvas pixels to pixels of the sample.
struct Pose {
  float xx, xy, x0, yx, yy, y0;
};

/// Maps canvas positions to sample positions, about the centre.
Pose random_pose(const Canvas& canvas, const Symmetry& symmetry, float strength,
                 core::Random& random) {
  const float shift = kMaxShift * strength, scale = kMaxScale * strength;
  const float limit = symmetry.turns == Turns::kAny ? kHalfTurn : kMaxTurn * strength;
  float turn = random.uniform(-limit, limit);
  if (symmetry.turns == Turns::kUpsideDown && random.chance(0.5f)) turn += kHalfTurn;
  const float size = random.uniform(-scale, scale);
  const float aspect = random.uniform(-scale, scale) / 2;
  const bool mirror = symmetry.mirrored && random.chance(0.5f);
  const float sx = (mirror ? -1.0f : 1.0f) * std::exp(size + aspect), sy = std::exp(size - aspect);
  Pose pose{sx * std::cos(turn), -sy * std::sin(turn), 0,
            sx * std::sin(turn), sy * std::cos(turn),  0};
  const float cx = 0.5f * static_cast<float>(canvas.width - 1);
  const float cy = 0.5f * static_cast<float>(canvas.height - 1);
  pose.x0 = cx - pose.xx * cx - pose.xy * cy +
            random.uniform(-shift, shift) * static_cast<float>(canvas.width);
  pose.y0 = cy - pose.yx * cx - pose.yy * cy +
            random.uniform(-shift, shift) * static_cast<float>(canvas.height);
  return pose;
}

struct Levels {
  float gain, offset;
};

/// Bilinear, edge pixels repeat.
void warp(const Sample& sample, const Canvas& canvas, const Pose& pose, const Levels* levels,
          float* out) {
  const auto right = static_cast<float>(canvas.width - 1);
  const auto bottom = static_cast<float>(canvas.height - 1);
  const std::size_t plane = canvas.plane_size();
  std::size_t at = 0;
  for (int v = 0; v < canvas.height; ++v) {
    for (int u = 0; u < canvas.width; ++u, ++at) {
      const auto fu = static_cast<float>(u), fv = static_cast<float>(v);
      const float x = std::clamp(pose.xx * fu + pose.xy * fv + pose.x0, 0.0f, right);
      const float y = std::clamp(pose.yx * fu + pose.yy * fv + pose.y0, 0.0f, bottom);
      const core::BilinearTap tap = core::bilinear_tap(x, y, canvas.width, canvas.height);
      for (int c = 0; c < canvas.channels; ++c) {
        const float value = tap(sample.data() + plane * static_cast<std::size_t>(c));
        out[canvas.channels * at + c] = value * levels[c].gain + levels[c].offset;
      }
    }
  }
}

Levels levels_of(const Canvas& canvas, int channel, float gain, float offset) {
  const float scale = 1 / canvas.deviation[channel];
  return {gain * scale / 255, (offset - canvas.mean[channel]) * scale};
}

}  // namespace

void normalise(const Sample& sample, const Canvas& canvas, float* out) {
  for (int c = 0; c < canvas.channels; ++c) {
    const Levels levels = levels_of(canvas, c, 1, 0);
    for (std::size_t i = 0; i < canvas.plane_size(); ++i) {
      const float value = sample[canvas.plane_size() * c + i];
      out[canvas.channels * i + c] = value * levels.gain + levels.offset;
    }
  }
}

void augment(const Sample& sample, const Canvas& canvas, const Symmetry& symmetry, float strength,
             core::Random& random, float* out) {
  const Pose pose = random_pose(canvas, symmetry, strength, random);
  const float gain = std::exp(strength * random.uniform(-kMaxGain, kMaxGain));
  const float offset = strength * random.uniform(-kMaxOffset, kMaxOffset);
  Levels levels[3];
  for (int c = 0; c < canvas.channels; ++c) levels[c] = levels_of(canvas, c, gain, offset);
  warp(sample, canvas, pose, levels, out);
}

}  // namespace telvar::classifier
