#pragma once

// What the context network says of a whole region, in a coarse grid; the fine network has it beside
// its own view of a piece.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace telvar::segmenter {

/// Where a rectangle of pixels lies in its region.
struct PlaceInRegion {
  int x = 0, y = 0;           // of the rectangle's first pixel, region pixels
  int width = 0, height = 0;  // of the region
};

/// A probability for every category and cell of a grid over the region. A byte each: of a training,
/// there is a map for every image.
class ContextMap {
 public:
  /// Nothing is known of the region.
  ContextMap() = default;
  /// `probabilities`: categories x height x width, 0..1.
  ContextMap(int width, int height, const std::vector<float>& probabilities);

  bool empty() const { return values_.empty(); }
  int width() const { return width_; }
  int height() const { return height_; }
  /// The probability, 0..1, that a cell belongs to a category.
  float probability(int category, std::size_t cell) const {
    return values_[category * (std::size_t(width_) * height_) + cell] * (1.0f / 255);
  }

  /// Interpolates between cells at region pixel (x, y): 2 p - 1 for each category, to every
  /// `stride`-th place of `out`.
  void sample(const PlaceInRegion& place, float x, float y, std::size_t stride, float* out) const;

 private:
  int width_ = 0, height_ = 0;
  std::vector<std::uint8_t> values_;
};

/// Fills `categories` planes of width x height for the rectangle that begins at `place`; 0, which
/// says nothing, for an empty map.
void fill_context_planes(const ContextMap& map, const PlaceInRegion& place, int categories,
                         int width, int height, float* out);

}  // namespace telvar::segmenter
