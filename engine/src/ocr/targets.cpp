#include "ocr/targets.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace telvar::ocr {
namespace {

/// Range of normalised values below which nothing stands out.
constexpr float kEmptyContrast = 0.25f;

struct Nearest {
  const PreparedLabel* label = nullptr;
  float distance = std::numeric_limits<float>::infinity();  // characters
};

Nearest nearest(const std::vector<PreparedLabel>& labels, float x, float y) {
  Nearest best;
  for (const PreparedLabel& label : labels) {
    const float distance = std::hypot(label.x - x, label.y - y) / kReadingCharacter;
    if (distance < best.distance) best = {&label, distance};
  }
  return best;
}

/// Whether nothing stands out within a third of a character around a reading pixel.
bool clearly_empty(const core::Raster& pixels, float x, float y) {
  constexpr int kReach = kReadingCharacter / 3;
  const int left = std::max(0, static_cast<int>(x) - kReach);
  const int right = std::min(pixels.width - 1, static_cast<int>(x) + kReach);
  const int top = std::max(0, static_cast<int>(y) - kReach);
  const int bottom = std::min(pixels.height - 1, static_cast<int>(y) + kReach);
  float low = pixels.at(0, top, left), high = low;
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) {
      low = std::min(low, pixels.at(0, row, column));
      high = std::max(high, pixels.at(0, row, column));
    }
  }
  return high - low < kEmptyContrast;
}

/// With what weight a cell teaches background.
float background_weight(const Crop& crop, float elsewhere, float distance, float x, float y) {
  if (distance < kIgnoreRadius) return 0;
  if (nearest(crop.unlabelled, x, y).distance < kUnlabelledRadius) return 0;
  if (elsewhere >= 1 || distance < kSurroundingRadius) return 1;
  return clearly_empty(crop.pixels, x, y) ? 1 : elsewhere;
}

}  // namespace

Targets make_targets(const Crop& crop, float elsewhere) {
  constexpr std::size_t kCells = static_cast<std::size_t>(kCellColumns) * kCellRows;
  Targets targets{std::vector<float>(kCells, 0), std::vector<float>(kCells, 0),
                  std::vector<std::int64_t>(kCells, -1), std::vector<float>(kCells, 0),
                  std::vector<float>(kCells, 0)};
  for (std::size_t cell = 0; cell < kCells; ++cell) {
    const float x = cell_centre(static_cast<int>(cell % kCellColumns));
    const float y = cell_centre(static_cast<int>(cell / kCellColumns));
    const Nearest found = nearest(crop.labels, x, y);
    if (found.distance < kPositiveRadius) {
      targets.objectness[cell] = targets.weight[cell] = 1;
      targets.category[cell] = found.label->category;
      targets.offset_x[cell] = (found.label->x - x) / kReadingCharacter;
      targets.offset_y[cell] = (found.label->y - y) / kReadingCharacter;
    } else if (crop.unknown.empty() || !crop.unknown[cell]) {
      targets.weight[cell] = background_weight(crop, elsewhere, found.distance, x, y);
    }
  }
  return targets;
}

}  // namespace telvar::ocr
