#include "classifier/features/features.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "classifier/features/covariance.h"
#include "classifier/features/layout.h"
#include "core/sampling.h"

namespace telvar::classifier {
namespace {

/// The largest value of a block of unit length, so that no single edge outweighs the shape (Dalal
/// and Triggs, 2005).
constexpr float kClip = 0.2f;
/// The number of values of a block, which has the histograms of 2 x 2 cells.
constexpr int kBlock = 4 * kOrientations;
constexpr float kPi = 3.14159265f;
constexpr float kStrengthsToWhite = 12;  // bins of strength from 0 to a difference of 1
// What a pixel adds to the bin of its strength; to those of its orientation it adds the strength
// itself, which is of the same order. Not measured: artifacts of version 1.0 fix it.
constexpr float kStrengthShare = 0.1f;

core::Raster to_raster(const Sample& sample, const Canvas& canvas) {
  core::Raster raster(canvas.width, canvas.height, canvas.channels);
  for (std::size_t i = 0; i < sample.size(); ++i) raster.values[i] = sample[i] / 255.0f;
  return raster;
}

struct Gradients {
  std::vector<float> magnitude, orientation;  // orientation in bins, 0..kOrientations
};

/// Central differences of the channel with the strongest gradient.
Gradients gradients_of(const core::Raster& raster) {
  Gradients gradients;
  for (int y = 0; y < raster.height; ++y) {
    const int up = std::max(y - 1, 0), down = std::min(y + 1, raster.height - 1);
    for (int x = 0; x < raster.width; ++x) {
      const int left = std::max(x - 1, 0), right = std::min(x + 1, raster.width - 1);
      float best_x = 0, best_y = 0, best = -1;
      for (int c = 0; c < raster.channels; ++c) {
        const float gx = raster.at(c, y, right) - raster.at(c, y, left);
        const float gy = raster.at(c, down, x) - raster.at(c, up, x);
        const float square = gx * gx + gy * gy;
        if (square > best) best_x = gx, best_y = gy, best = square;
      }
      gradients.magnitude.push_back(std::sqrt(best));
      const float angle = std::atan2(best_y, best_x) / kPi;  // -1..1
      gradients.orientation.push_back((angle < 0 ? angle + 1 : angle) * kOrientations);
    }
  }
  return gradients;
}

/// A value between the centres of two bins counts in both: `high_share` of it in bin low + 1.
struct Mix {
  int low;
  float high_share;
};

Mix mix_at(float position) {
  const float low = std::floor(position - 0.5f);
  return {static_cast<int>(low), position - 0.5f - low};
}

/// For every pixel of a side: which of its cells it counts in. Numbered from 1, so that there is
/// one more beyond either end.
std::vector<Mix> mixes_along(int pixels, int cells) {
  std::vector<Mix> mixes;
  mixes.reserve(static_cast<std::size_t>(pixels));
  const float scale = static_cast<float>(cells) / static_cast<float>(pixels);
  for (int i = 0; i < pixels; ++i) {
    mixes.push_back(mix_at((static_cast<float>(i) + 0.5f) * scale + 1));
  }
  return mixes;
}

void add_to_cell(float* cell, const Mix& turn, float weight) {
  const int low = turn.low < 0 ? kOrientations - 1 : turn.low;
  const int high = turn.low + 1 == kOrientations ? 0 : turn.low + 1;
  cell[low] += (1 - turn.high_share) * weight;
  cell[high] += turn.high_share * weight;
}

/// Orientation histograms of cells, mixed linearly in place and orientation, in a frame of one cell
/// to be left out.
std::vector<float> cell_histograms(const core::Raster& raster, const Gradients& gradients,
                                   const Grid& grid) {
  const std::vector<Mix> across = mixes_along(raster.width, grid.columns);
  const std::vector<Mix> down = mixes_along(raster.height, grid.rows);
  const std::size_t stride = static_cast<std::size_t>(grid.columns + 2) * kOrientations;
  std::vector<float> cells(stride * (grid.rows + 2));
  std::size_t at = 0;
  for (const Mix& row : down) {
    for (const Mix& column : across) {
      const Mix turn = mix_at(gradients.orientation[at]);
      const float high = row.high_share * gradients.magnitude[at];
      const float low = gradients.magnitude[at] - high;
      float* const cell = cells.data() + stride * row.low + std::size_t{kOrientations} * column.low;
      add_to_cell(cell, turn, low * (1 - column.high_share));
      add_to_cell(cell + kOrientations, turn, low * column.high_share);
      add_to_cell(cell + stride, turn, high * (1 - column.high_share));
      add_to_cell(cell + stride + kOrientations, turn, high * column.high_share);
      ++at;
    }
  }
  return cells;
}

/// Scales a block to unit length, clips, scales again.
void normalise_block(float* values) {
  for (int pass = 0; pass < 2; ++pass) {
    float sum = 1e-4f;  // an even block stays near zero: its noise is no shape
    for (int i = 0; i < kBlock; ++i) sum += values[i] * values[i];
    const float scale = 1 / std::sqrt(sum);
    for (int i = 0; i < kBlock; ++i) {
      values[i] *= scale;
      if (pass == 0) values[i] = std::min(values[i], kClip);
    }
  }
}

/// Histograms of oriented gradients (Dalal and Triggs, 2005).
std::vector<float> shape_of(const core::Raster& raster, const Gradients& gradients,
                            const Grid& grid) {
  const std::vector<float> histograms = cell_histograms(raster, gradients, grid);
  std::vector<float> shape;
  for (int r = 1; r < grid.rows; ++r) {
    for (int c = 1; c < grid.columns; ++c) {
      for (int k = 0; k < 4; ++k) {
        const std::size_t cell =
            static_cast<std::size_t>(r + k / 2) * (grid.columns + 2) + c + k % 2;
        const float* from = histograms.data() + cell * kOrientations;
        shape.insert(shape.end(), from, from + kOrientations);
      }
      normalise_block(shape.data() + shape.size() - kBlock);
    }
  }
  return shape;
}

/// The bin of a pattern; bit k: neighbour k is brighter.
constexpr int pattern_of(unsigned code) {
  int ends = 0, ones = 0, start = 0;
  for (int k = 0; k < 8; ++k) {
    const bool bit = code >> k & 1, before = code >> ((k + 7) % 8) & 1;
    ends += bit != before;
    ones += bit;
    if (bit && !before) start = k;
  }
  if (ends > 2) return kSeveralRuns;
  return ones == 0 ? kNoneBrighter : ones == 8 ? kAllBrighter : run_pattern(ones, start);
}

constexpr std::array<std::uint8_t, 256> all_patterns() {
  std::array<std::uint8_t, 256> bins{};
  for (unsigned code = 0; code < 256; ++code) {
    bins[code] = static_cast<std::uint8_t>(pattern_of(code));
  }
  return bins;
}

/// Local binary patterns of eight neighbours (Ojala et al., 2002): a bin for each uniform pattern,
/// one for all others; square roots of shares.
void append_patterns(const core::Raster& gray, int radius, std::vector<float>& out) {
  static constexpr int kDx[8] = {1, 1, 0, -1, -1, -1, 0, 1}, kDy[8] = {0, 1, 1, 1, 0, -1, -1, -1};
  static constexpr std::array<std::uint8_t, 256> kBins = all_patterns();
  constexpr float kNoise = 0.01f;  // of white: what a sensor adds is no pattern
  const std::ptrdiff_t row_step = gray.width;
  std::ptrdiff_t neighbours[8];
  for (int k = 0; k < 8; ++k) neighbours[k] = radius * (kDy[k] * row_step + kDx[k]);
  std::array<int, kPatterns> counts{};
  float total = 1e-6f;  // above 0 where the image is too small for any pattern
  for (int y = radius; y + radius < gray.height; ++y) {
    for (int x = radius; x + radius < gray.width; ++x) {
      const float* const pixel = gray.plane(0) + static_cast<std::size_t>(y) * gray.width + x;
      const float level = *pixel + kNoise;
      unsigned code = 0;
      for (int k = 7; k >= 0; --k) code = 2 * code + (pixel[neighbours[k]] > level ? 1 : 0);
      ++counts[kBins[code]];
      total += 1;
    }
  }
  for (const int count : counts) out.push_back(std::sqrt(static_cast<float>(count) / total));
}

std::vector<float> texture_of(const core::Raster& raster, const Gradients& gradients) {
  const core::Raster gray = core::to_gray(raster);
  std::vector<float> texture;
  for (const int radius : kPatternRadii) append_patterns(gray, radius, texture);
  float turns[kOrientations] = {}, strengths[kStrengths] = {};
  for (std::size_t i = 0; i < gradients.magnitude.size(); ++i) {
    add_to_cell(turns, mix_at(gradients.orientation[i]), gradients.magnitude[i]);
    const int strength = static_cast<int>(gradients.magnitude[i] * kStrengthsToWhite);
    strengths[std::min(strength, kStrengths - 1)] += kStrengthShare;
  }
  const auto count = static_cast<float>(gradients.magnitude.size());
  for (const float sum : turns) texture.push_back(std::sqrt(sum / count));
  for (const float sum : strengths) texture.push_back(std::sqrt(sum / count));
  return texture;
}

/// A soft histogram over 4 x 4 x 4 colours; square roots of shares.
std::vector<float> colour_of(const core::Raster& raster) {
  if (raster.channels == 1) return {};
  std::vector<float> colours(kColours);
  const std::size_t count = raster.plane_size();
  for (std::size_t i = 0; i < count; ++i) {
    float position[3];
    int low[3];
    for (int c = 0; c < 3; ++c) {
      position[c] = raster.plane(c)[i] * (kColourLevels - 1);
      low[c] = std::min(kColourLevels - 2, static_cast<int>(position[c]));
      position[c] -= static_cast<float>(low[c]);
    }
    for (int k = 0; k < 8; ++k) {
      float weight = 1;
      int bin = 0;
      for (int c = 0; c < 3; ++c) {
        const int up = k >> c & 1;
        weight *= up ? position[c] : 1 - position[c];
        bin = kColourLevels * bin + low[c] + up;
      }
      colours[bin] += weight;
    }
  }
  for (float& value : colours) value = std::sqrt(value / static_cast<float>(count));
  return colours;
}

}  // namespace

Features describe(const Sample& sample, const Canvas& canvas, const FeatureGroups& wanted) {
  const core::Raster raster = to_raster(sample, canvas);
  const Grid pixels = coarse_pixels(canvas);
  Features features(kFeatureGroups);
  if (wanted[kCoarseShape] || wanted[kFineShape] || wanted[kTexture]) {
    const Gradients gradients = gradients_of(raster);
    if (wanted[kCoarseShape]) {
      features[kCoarseShape] = shape_of(raster, gradients, coarse_cells(canvas));
    }
    if (wanted[kFineShape]) features[kFineShape] = shape_of(raster, gradients, fine_cells(canvas));
    if (wanted[kTexture]) features[kTexture] = texture_of(raster, gradients);
  }
  if (wanted[kPixels]) features[kPixels] = core::resize(raster, pixels.columns, pixels.rows).values;
  if (wanted[kColour]) features[kColour] = colour_of(raster);
  if (wanted[kCovariance]) features[kCovariance] = covariance_of(core::to_gray(raster));
  return features;
}

}  // namespace telvar::classifier
