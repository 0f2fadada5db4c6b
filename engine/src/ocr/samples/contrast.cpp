#include "ocr/samples/contrast.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace telvar::ocr {
namespace {

constexpr int kBlock = 4;      // pixels a side over which statistics are first gathered
constexpr int kBoxRadius = 3;  // of each of the two box means over blocks
/// Gray values of 0..1: joins the deviation by which pixels are divided, so that where there is
/// nothing but a sensor's noise this is not blown up to strokes.
constexpr float kFloor = 1.5f / 255;

struct Blocks {
  int width, height;
  std::vector<float> mean, square;
};

/// Mean and mean square per block; the last row and column may cover fewer pixels.
Blocks gather(const core::Raster& gray) {
  Blocks blocks{(gray.width + kBlock - 1) / kBlock, (gray.height + kBlock - 1) / kBlock, {}, {}};
  const std::size_t count = static_cast<std::size_t>(blocks.width) * blocks.height;
  blocks.mean.assign(count, 0);
  blocks.square.assign(count, 0);
  for (int y = 0; y < gray.height; ++y) {
    const float* row = gray.plane(0) + static_cast<std::size_t>(y) * gray.width;
    const std::size_t first = static_cast<std::size_t>(y / kBlock) * blocks.width;
    for (int x = 0; x < gray.width; ++x) {
      blocks.mean[first + x / kBlock] += row[x];
      blocks.square[first + x / kBlock] += row[x] * row[x];
    }
  }
  for (int y = 0; y < blocks.height; ++y) {
    const int rows = std::min(kBlock, gray.height - y * kBlock);
    for (int x = 0; x < blocks.width; ++x) {
      const int columns = std::min(kBlock, gray.width - x * kBlock);
      const float scale = 1.0f / static_cast<float>(rows * columns);
      blocks.mean[static_cast<std::size_t>(y) * blocks.width + x] *= scale;
      blocks.square[static_cast<std::size_t>(y) * blocks.width + x] *= scale;
    }
  }
  return blocks;
}

/// Box mean of `count` values `step` apart; values beyond the ends repeat.
void box_mean(const float* in, float* out, int count, std::size_t step) {
  const auto at = [&](int i) { return in[std::clamp(i, 0, count - 1) * step]; };
  // Summed afresh for every value: a running sum would depend on where a tile begins.
  for (int i = 0; i < count; ++i) {
    float sum = 0;
    for (int k = -kBoxRadius; k <= kBoxRadius; ++k) sum += at(i + k);
    out[i * step] = sum / (2 * kBoxRadius + 1);
  }
}

void smooth(std::vector<float>& values, int width, int height) {
  std::vector<float> other(values.size());
  for (int pass = 0; pass < 2; ++pass) {
    for (int y = 0; y < height; ++y) {
      const std::size_t row = static_cast<std::size_t>(y) * width;
      box_mean(values.data() + row, other.data() + row, width, 1);
    }
    for (int x = 0; x < width; ++x) {
      box_mean(other.data() + x, values.data() + x, height, static_cast<std::size_t>(width));
    }
  }
}

/// Bilinear position between block centres.
struct Between {
  int low, high;
  float share;  // of `high`
};

std::vector<Between> positions(int pixels, int blocks) {
  std::vector<Between> result(pixels);
  for (int i = 0; i < pixels; ++i) {
    const float at = (static_cast<float>(i) + 0.5f) / kBlock - 0.5f;
    const int low = static_cast<int>(std::floor(at));
    result[i] = {std::clamp(low, 0, blocks - 1), std::clamp(low + 1, 0, blocks - 1),
                 at - static_cast<float>(low)};
  }
  return result;
}

/// One row of block values interpolated down to one row of pixels.
void interpolate(const std::vector<float>& blocks, int width, const Between& y,
                 const std::vector<Between>& columns, std::vector<float>& blended,
                 std::vector<float>& out) {
  const float* low = blocks.data() + static_cast<std::size_t>(y.low) * width;
  const float* high = blocks.data() + static_cast<std::size_t>(y.high) * width;
  for (int x = 0; x < width; ++x) blended[x] = low[x] + (high[x] - low[x]) * y.share;
  for (std::size_t x = 0; x < columns.size(); ++x) {
    const Between& c = columns[x];
    out[x] = blended[c.low] + (blended[c.high] - blended[c.low]) * c.share;
  }
}

}  // namespace

void normalise_contrast(core::Raster& gray) {
  Blocks blocks = gather(gray);
  smooth(blocks.mean, blocks.width, blocks.height);
  smooth(blocks.square, blocks.width, blocks.height);
  std::vector<float>& gain = blocks.square;
  for (std::size_t i = 0; i < gain.size(); ++i) {
    const float variance = std::max(0.0f, gain[i] - blocks.mean[i] * blocks.mean[i]);
    gain[i] = 1.0f / std::sqrt(variance + kFloor * kFloor);
  }
  const auto columns = positions(gray.width, blocks.width);
  const auto rows = positions(gray.height, blocks.height);
  std::vector<float> blended(blocks.width), mean(gray.width), scale(gray.width);
  for (int y = 0; y < gray.height; ++y) {
    interpolate(blocks.mean, blocks.width, rows[y], columns, blended, mean);
    interpolate(gain, blocks.width, rows[y], columns, blended, scale);
    float* row = gray.plane(0) + static_cast<std::size_t>(y) * gray.width;
    for (int x = 0; x < gray.width; ++x) row[x] = (row[x] - mean[x]) * scale[x];
  }
}

}  // namespace telvar::ocr
