#pragma once

#include <algorithm>
#include <vector>

#include "core/random.h"

namespace telvar::ocr {

/// A smooth random field over a raster: standard normal values at knots `spacing` pixels apart,
/// eased in between.
class SmoothField {
 public:
  SmoothField(int width, int height, int spacing, core::Random& random)
      : spacing_(static_cast<float>(spacing)),
        columns_(width / spacing + 2),
        rows_(height / spacing + 2),
        knots_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {
    for (float& value : knots_) value = random.normal();
  }

  float at(float x, float y) const {
    const int column = std::clamp(static_cast<int>(x / spacing_), 0, columns_ - 2);
    const int row = std::clamp(static_cast<int>(y / spacing_), 0, rows_ - 2);
    const float u = eased(x / spacing_ - static_cast<float>(column));
    const float v = eased(y / spacing_ - static_cast<float>(row));
    const float* upper = knots_.data() + static_cast<std::ptrdiff_t>(row) * columns_ + column;
    const float* lower = upper + columns_;
    const float top = upper[0] + (upper[1] - upper[0]) * u;
    return top + (lower[0] + (lower[1] - lower[0]) * u - top) * v;
  }

 private:
  static float eased(float t) {
    t = std::clamp(t, 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
  }
  float spacing_;
  int columns_, rows_;
  std::vector<float> knots_;
};

}  // namespace telvar::ocr
