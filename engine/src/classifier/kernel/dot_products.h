#pragma once

// The one heavy loop of the classifier's dense algebra: dot products of rows with rows, compiled
// once for every instruction set and chosen when the program runs.

#include <cstddef>

namespace telvar::classifier {

/// Row-major rows of numbers, `stride` apart.
struct Rows {
  const float* values;
  std::size_t stride;
  int count;
};

/// Row lengths that `dot_products` takes are multiples of this.
constexpr std::size_t kDotLength = 16;

/// out[i * out_stride + j] = dot product of row i of `a` and row j of `b` over `length` values. A
/// dot product has the same bits whatever other rows are asked with it.
void dot_products(const Rows& a, const Rows& b, std::size_t length, float* out,
                  std::size_t out_stride);

}  // namespace telvar::classifier
