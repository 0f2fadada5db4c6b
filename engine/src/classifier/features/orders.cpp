#include "classifier/features/orders.h"

#include <iterator>
#include <numeric>

#include "classifier/features/covariance.h"
#include "classifier/features/layout.h"

namespace telvar::classifier {
namespace {

/// The orientation that the transform turns into this one.
int orientation_before(const DihedralTransform& transform, int orientation) {
  if (transform.turns_sideways()) orientation += kOrientations / 2;
  orientation %= kOrientations;
  return transform.mirrored ? kOrientations - 1 - orientation : orientation;
}

std::vector<int> shape_order(const DihedralTransform& transform, const Grid& cells) {
  const int columns = cells.columns - 1, rows = cells.rows - 1;
  std::vector<int> order;
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) {
      const Cell block = cell_before(transform, {x, y}, columns, rows);
      for (int k = 0; k < 4; ++k) {
        const Cell cell = cell_before(transform, {k % 2, k / 2}, 2, 2);
        const int from = (block.y * columns + block.x) * 4 + cell.y * 2 + cell.x;
        for (int o = 0; o < kOrientations; ++o) {
          order.push_back(from * kOrientations + orientation_before(transform, o));
        }
      }
    }
  }
  return order;
}

std::vector<int> pixel_order(const DihedralTransform& transform, const Grid& pixels, int channels) {
  std::vector<int> order;
  for (int c = 0; c < channels; ++c) {
    for (int y = 0; y < pixels.rows; ++y) {
      for (int x = 0; x < pixels.columns; ++x) {
        const Cell from = cell_before(transform, {x, y}, pixels.columns, pixels.rows);
        order.push_back((c * pixels.rows + from.y) * pixels.columns + from.x);
      }
    }
  }
  return order;
}

/// A quarter turn moves a run of neighbours by two; mirroring takes neighbour k to 4 - k, so that
/// the run starts where it ended.
int pattern_before(const DihedralTransform& transform, int pattern) {
  const int length = pattern / 8;
  if (length == 0 || length == 8) return pattern;
  int start = pattern % 8 - 2 * transform.quarter_turns;
  if (transform.mirrored) start = 4 - (start + length - 1);
  return run_pattern(length, (start + 16) % 8);
}

std::vector<int> texture_order(const DihedralTransform& transform) {
  std::vector<int> order;
  for (std::size_t k = 0; k < std::size(kPatternRadii); ++k) {
    const int first = static_cast<int>(order.size());
    for (int p = 0; p < kPatterns; ++p) order.push_back(first + pattern_before(transform, p));
  }
  const int first = static_cast<int>(order.size());
  for (int o = 0; o < kOrientations; ++o) order.push_back(first + orientation_before(transform, o));
  for (int s = 0; s < kStrengths; ++s) order.push_back(first + kOrientations + s);
  return order;
}

}  // namespace

FeatureOrder order_under(const Canvas& canvas, const DihedralTransform& transform) {
  std::vector<int> colours(canvas.channels == 1 ? 0 : kColours);
  std::iota(colours.begin(), colours.end(), 0);
  return {shape_order(transform, coarse_cells(canvas)),
          shape_order(transform, fine_cells(canvas)),
          pixel_order(transform, coarse_pixels(canvas), canvas.channels),
          texture_order(transform),
          colours,
          covariance_order(transform)};
}

std::vector<FeatureOrder> orders_under(const Canvas& canvas,
                                       const std::vector<DihedralTransform>& transforms) {
  std::vector<FeatureOrder> orders;
  orders.reserve(transforms.size());
  for (const DihedralTransform& transform : transforms) {
    orders.push_back(order_under(canvas, transform));
  }
  return orders;
}

}  // namespace telvar::classifier
