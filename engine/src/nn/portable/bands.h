#pragma once

// A tensor is read in bands: copies of some of its rows, with zeros around them, small enough to
// stay in the second-level cache. Within a band every value that a convolution needs lies at a
// fixed distance from its position, so the heavy loop knows nothing of borders.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "nn/number.h"

namespace telvar::nn::portable {

/// What a convolution reads of a tensor. In every image it visits a grid of positions: the grid's
/// row i and column j is row first_row + i * step and column j * step of the tensor, and there it
/// needs the values from `low` to `high` rows and columns away. low <= 0 <= high.
struct Reading {
  int images = 1;
  int height = 1;  // of the tensor
  int width = 1;
  int channels = 1;
  int grid_height = 1;
  int grid_width = 1;
  int step = 1;
  int low = 0;
  int high = 0;
  int first_row = 0;  // of the tensor: where row 0 of the grid stands
};

/// Either whole images, or some rows of the grid of one image.
struct Band {
  int first_image = 0;
  int images = 0;
  int first_row = 0;
  int rows = 0;
};

class Bands {
 public:
  Bands(const Reading& reading, Number number);

  int count() const { return count_; }
  Band band(int index) const;
  /// The most images and rows that a band has.
  int max_images() const { return images_; }
  int max_rows() const { return rows_; }
  /// The size of the copy; 0 when none is needed.
  std::size_t floats() const { return direct_ ? 0 : images_ * image_stride_; }

  /// Offset of a position from the begin of its band, in floats. The row counts from the band's
  /// first.
  std::int32_t position(int image, int row, int column) const;
  /// Offset of a value from its position, in floats.
  std::int32_t tap(int row, int column, int channel) const;

  /// The band of a tensor: a copy in `scratch`, or the tensor itself where it needs no border.
  const float* read(const Band& band, const void* tensor, float* scratch) const;

 private:
  std::size_t rows_of(int grid_rows) const {
    return static_cast<std::size_t>(grid_rows - 1) * reading_.step + reading_.high - reading_.low +
           1;
  }
  void copy_row(const void* tensor, int image, int row, float* to) const;

  Reading reading_;
  Number number_;
  bool direct_;
  int images_ = 1;
  int rows_;
  int count_;
  std::size_t row_stride_;
  std::size_t image_stride_;
};

}  // namespace telvar::nn::portable
