#include "classifier/features.h"

#include <algorithm>
#include <cmath>

#include "core/sampling.h"

namespace telvar::classifier {
namespace {

constexpr int kOrientations = 9;  // over half a turn (Dalal and Triggs, 2005)
constexpr float kClip = 0.2f;
constexpr float kPi = 3.14159265f;
constexpr int kCoarseCells = 4, kFineCells = 7;  // along the longer side
constexpr int kPixelSide = 14;

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

struct Grid {
  int columns, rows;
};

Grid grid_for(const core::Raster& raster, int cells) {
  const double longest = std::max(raster.width, raster.height);
  return {std::max(2, static_cast<int>(std::lround(cells * raster.width / longest))),
          std::max(2, static_cast<int>(std::lround(cells * raster.height / longest)))};
}

/// Orientation histograms of cells, mixed linearly in place and orientation.
std::vector<float> cell_histograms(const core::Raster& raster, const Gradients& gradients,
                                   const Grid& grid) {
  std::vector<float> cells(static_cast<std::size_t>(grid.columns) * grid.rows * kOrientations);
  for (int y = 0; y < raster.height; ++y) {
    const float v = (y + 0.5f) * grid.rows / raster.height - 0.5f;
    const int row = static_cast<int>(std::floor(v));
    for (int x = 0; x < raster.width; ++x) {
      const float u = (x + 0.5f) * grid.columns / raster.width - 0.5f;
      const int column = static_cast<int>(std::floor(u));
      const std::size_t at = static_cast<std::size_t>(y) * raster.width + x;
      const float turn = gradients.orientation[at] - 0.5f;
      const int bin = static_cast<int>(std::floor(turn));
      for (int k = 0; k < 8; ++k) {
        const int c = column + (k & 1), r = row + (k >> 1 & 1), b = bin + (k >> 2);
        if (c < 0 || r < 0 || c >= grid.columns || r >= grid.rows) continue;
        const float weight = (k & 1 ? u - column : 1 - (u - column)) *
                             (k & 2 ? v - row : 1 - (v - row)) *
                             (k & 4 ? turn - bin : 1 - (turn - bin));
        const int wrapped = (b + kOrientations) % kOrientations;
        cells[(static_cast<std::size_t>(r) * grid.columns + c) * kOrientations + wrapped] +=
            weight * gradients.magnitude[at];
      }
    }
  }
  return cells;
}

/// Scales to unit length, clips, scales again.
void normalise_block(float* values, int count) {
  for (int pass = 0; pass < 2; ++pass) {
    float sum = 1e-4f;
    for (int i = 0; i < count; ++i) sum += values[i] * values[i];
    const float scale = 1 / std::sqrt(sum);
    for (int i = 0; i < count; ++i) {
      values[i] *= scale;
      if (pass == 0) values[i] = std::min(values[i], kClip);
    }
  }
}

/// Overlapping blocks of 2 x 2 cells.
std::vector<float> shape_of(const core::Raster& raster, const Gradients& gradients, int cells) {
  const Grid grid = grid_for(raster, cells);
  const std::vector<float> histograms = cell_histograms(raster, gradients, grid);
  std::vector<float> shape;
  for (int r = 0; r + 1 < grid.rows; ++r) {
    for (int c = 0; c + 1 < grid.columns; ++c) {
      for (int k = 0; k < 4; ++k) {
        const std::size_t cell = static_cast<std::size_t>(r + k / 2) * grid.columns + c + k % 2;
        const float* from = histograms.data() + cell * kOrientations;
        shape.insert(shape.end(), from, from + kOrientations);
      }
      normalise_block(shape.data() + shape.size() - 4 * kOrientations, 4 * kOrientations);
    }
  }
  return shape;
}

std::vector<float> pixels_of(const core::Raster& raster) {
  const double longest = std::max(raster.width, raster.height);
  const int width = std::max(1, static_cast<int>(std::lround(kPixelSide * raster.width / longest)));
  const int height =
      std::max(1, static_cast<int>(std::lround(kPixelSide * raster.height / longest)));
  return core::resize(raster, width, height).values;
}

/// Local binary patterns of eight neighbours (Ojala et al., 2002): a bin for each uniform pattern,
/// one for all others; square roots of shares.
void append_patterns(const core::Raster& gray, int radius, std::vector<float>& out) {
  static const int kDx[8] = {1, 1, 0, -1, -1, -1, 0, 1}, kDy[8] = {0, 1, 1, 1, 0, -1, -1, -1};
  std::vector<float> counts(8 * 8 + 3);  // by number of ones and start; then all 0, all 1, others
  constexpr float kNoise = 0.01f;
  float total = 1e-6f;
  for (int y = radius; y + radius < gray.height; ++y) {
    for (int x = radius; x + radius < gray.width; ++x) {
      unsigned code = 0;
      for (int k = 0; k < 8; ++k) {
        const float value = gray.at(0, y + radius * kDy[k], x + radius * kDx[k]);
        if (value > gray.at(0, y, x) + kNoise) code |= 1u << k;
      }
      int changes = 0, ones = 0, start = 0;
      for (int k = 0; k < 8; ++k) {
        const bool bit = code >> k & 1, before = code >> ((k + 7) % 8) & 1;
        changes += bit != before;
        ones += bit;
        if (bit && !before) start = k;
      }
      const int bin = changes > 2 ? 66 : ones == 0 ? 64 : ones == 8 ? 65 : 8 * ones + start;
      counts[bin] += 1;
      total += 1;
    }
  }
  for (const float count : counts) out.push_back(std::sqrt(count / total));
}

std::vector<float> texture_of(const core::Raster& raster, const Gradients& gradients) {
  const core::Raster gray = core::to_gray(raster);
  std::vector<float> texture;
  append_patterns(gray, 1, texture);
  append_patterns(gray, 2, texture);
  std::vector<float> turns(kOrientations + 8);
  for (std::size_t i = 0; i < gradients.magnitude.size(); ++i) {
    turns[static_cast<int>(gradients.orientation[i]) % kOrientations] += gradients.magnitude[i];
    const int strength = static_cast<int>(gradients.magnitude[i] * 12);
    turns[kOrientations + std::min(strength, 7)] += 0.1f;
  }
  for (const float sum : turns) {
    texture.push_back(std::sqrt(sum / static_cast<float>(gradients.magnitude.size())));
  }
  return texture;
}

/// A soft histogram over 4 x 4 x 4 colours; square roots of shares.
std::vector<float> colour_of(const core::Raster& raster) {
  if (raster.channels == 1) return {};
  std::vector<float> colours(64);
  const std::size_t count = raster.plane_size();
  for (std::size_t i = 0; i < count; ++i) {
    float position[3];
    int low[3];
    for (int c = 0; c < 3; ++c) {
      position[c] = raster.plane(c)[i] * 3;
      low[c] = std::min(2, static_cast<int>(position[c]));
      position[c] -= static_cast<float>(low[c]);
    }
    for (int k = 0; k < 8; ++k) {
      float weight = 1;
      int bin = 0;
      for (int c = 0; c < 3; ++c) {
        const int up = k >> c & 1;
        weight *= up ? position[c] : 1 - position[c];
        bin = 4 * bin + low[c] + up;
      }
      colours[bin] += weight;
    }
  }
  for (float& value : colours) value = std::sqrt(value / static_cast<float>(count));
  return colours;
}

}  // namespace

Features describe(const Sample& sample, const Canvas& canvas) {
  const core::Raster raster = to_raster(sample, canvas);
  const Gradients gradients = gradients_of(raster);
  return {shape_of(raster, gradients, kCoarseCells), shape_of(raster, gradients, kFineCells),
          pixels_of(raster), texture_of(raster, gradients), colour_of(raster)};
}

}  // namespace telvar::classifier
