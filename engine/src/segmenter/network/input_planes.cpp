#include "segmenter/network/input_planes.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace telvar::segmenter {
namespace {

/// Local contrast is divided by its strength, but by no less than this, in units of the luma's
/// variance, so that noise on even ground stays small.
constexpr float kLeastEnergy = 0.0025f;

/// Sigmas of the blurs that part luma into scales, and of the surroundings that local contrast is
/// measured in, pixels. Coarser scales are the network's own.
constexpr float kFineBlur = 1.0f, kCoarseBlur = 4.0f, kSurroundings = 12.0f;

/// The finest plane is weak beside the others.
constexpr float kFineGain = 2.0f;

/// Half of a normalised Gaussian, centre first, cut at 2.5 sigma.
std::vector<float> half_kernel(float sigma) {
  std::vector<float> half(static_cast<std::size_t>(std::ceil(2.5f * sigma)) + 1);
  float sum = 0;
  for (std::size_t i = 0; i < half.size(); ++i) {
    half[i] = std::exp(-0.5f * static_cast<float>(i * i) / (sigma * sigma));
    sum += i == 0 ? half[i] : 2 * half[i];
  }
  for (float& weight : half) weight /= sum;
  return half;
}

void blur_rows(const float* in, int width, int height, const std::vector<float>& half, float* out) {
  const int radius = static_cast<int>(half.size()) - 1;
  std::vector<float> row(width + 2 * (half.size() - 1));
  for (int y = 0; y < height; ++y) {
    const float* source = in + std::size_t(y) * width;
    std::fill_n(row.begin(), radius, source[0]);
    std::copy(source, source + width, row.begin() + radius);
    std::fill_n(row.end() - radius, radius, source[width - 1]);
    float* target = out + std::size_t(y) * width;
    for (int x = 0; x < width; ++x) target[x] = half[0] * row[x + radius];
    for (int i = 1; i <= radius; ++i) {
      const float* before = row.data() + radius - i;
      const float* after = row.data() + radius + i;
      for (int x = 0; x < width; ++x) target[x] += half[i] * (before[x] + after[x]);
    }
  }
}

void blur_columns(const float* in, int width, int height, const std::vector<float>& half,
                  float* out) {
  const int radius = static_cast<int>(half.size()) - 1;
  const auto row = [&](int y) { return in + std::size_t(std::clamp(y, 0, height - 1)) * width; };
  for (int y = 0; y < height; ++y) {
    float* target = out + std::size_t(y) * width;
    const float* centre = row(y);
    for (int x = 0; x < width; ++x) target[x] = half[0] * centre[x];
    for (int i = 1; i <= radius; ++i) {
      const float* above = row(y - i);
      const float* below = row(y + i);
      for (int x = 0; x < width; ++x) target[x] += half[i] * (above[x] + below[x]);
    }
  }
}

std::vector<float> blur(const float* in, int width, int height, float sigma) {
  const std::vector<float> half = half_kernel(sigma);
  const std::size_t area = std::size_t(width) * height;
  std::vector<float> rows(area), out(area);
  blur_rows(in, width, height, half, rows.data());
  blur_columns(rows.data(), width, height, half, out.data());
  return out;
}

void fill_luma(const InputSpec& spec, const float* pixels, std::size_t area, float* out) {
  const float scale = 1.0f / spec.deviation;
  for (std::size_t i = 0; i < area; ++i) {
    const float luma =
        spec.colour ? core::luma(pixels[i], pixels[area + i], pixels[2 * area + i]) : pixels[i];
    out[i] = (luma - spec.mean) * scale;
  }
}

/// `detail` over its own root mean square around each pixel.
void fill_local_contrast(const std::vector<float>& detail, int width, int height, float* out) {
  std::vector<float> energy(detail.size());
  for (std::size_t i = 0; i < detail.size(); ++i) energy[i] = detail[i] * detail[i];
  energy = blur(energy.data(), width, height, kSurroundings);
  for (std::size_t i = 0; i < detail.size(); ++i) {
    out[i] = detail[i] / std::sqrt(energy[i] + kLeastEnergy);
  }
}

void fill_hues(const InputSpec& spec, const float* pixels, std::size_t area, float* out) {
  const float scale = 1.0f / spec.deviation;
  for (std::size_t i = 0; i < area; ++i) {
    out[i] = (pixels[2 * area + i] - pixels[area + i]) * scale;
    out[area + i] = (pixels[i] - pixels[area + i]) * scale;
  }
}

}  // namespace

void fill_input_planes(const InputSpec& spec, const float* pixels, int width, int height,
                       float* out) {
  const std::size_t area = std::size_t(width) * height;
  fill_luma(spec, pixels, area, out);
  const std::vector<float> fine = blur(out, width, height, kFineBlur);
  std::vector<float> detail = blur(out, width, height, kCoarseBlur);
  for (std::size_t i = 0; i < area; ++i) {
    out[area + i] = kFineGain * (out[i] - fine[i]);
    out[2 * area + i] = fine[i] - detail[i];
    detail[i] = out[i] - detail[i];
  }
  fill_local_contrast(detail, width, height, out + 3 * area);
  if (spec.colour) fill_hues(spec, pixels, area, out + 4 * area);
}

std::vector<float> padded(const float* planes, int count, int width, int height, int to_width,
                          int to_height) {
  std::vector<float> out(std::size_t(count) * to_width * to_height);
  float* target = out.data();
  for (int plane = 0; plane < count; ++plane) {
    for (int y = 0; y < to_height; ++y, target += to_width) {
      const float* row = planes + (std::size_t(plane) * height + std::min(y, height - 1)) * width;
      std::copy(row, row + width, target);
      std::fill(target + width, target + to_width, row[width - 1]);
    }
  }
  return out;
}

}  // namespace telvar::segmenter
