#include "nn/portable/bands.h"

#include <algorithm>

#include "nn/portable/numbers.h"

namespace telvar::nn::portable {

namespace {

/// 256 KiB: the packed weights and the results need the rest of a second-level cache.
constexpr std::size_t kBandFloats = std::size_t{64} * 1024;

int ceil_divide(int a, int b) {
  return (a + b - 1) / b;
}

}  // namespace

Bands::Bands(const Reading& reading, Number number)
    : reading_(reading),
      number_(number),
      direct_(number == Number::kFloat && reading.low == 0 && reading.high == 0),
      rows_(reading.grid_height) {
  const std::size_t width =
      direct_ ? reading.width
              : (reading.grid_width - 1) * reading.step + reading.high - reading.low + 1;
  row_stride_ = width * reading.channels;
  while (rows_ > 1 && rows_of(rows_) * row_stride_ > kBandFloats) --rows_;
  rows_ = ceil_divide(reading.grid_height, ceil_divide(reading.grid_height, rows_));
  image_stride_ = (direct_ ? reading.height : rows_of(rows_)) * row_stride_;
  if (rows_ == reading.grid_height) {
    const std::size_t fitting = std::max<std::size_t>(kBandFloats / image_stride_, 1);
    images_ = static_cast<int>(std::min<std::size_t>(fitting, reading.images));
  }
  count_ = ceil_divide(reading.images, images_) * ceil_divide(reading.grid_height, rows_);
}

Band Bands::band(int index) const {
  const int of_image = ceil_divide(reading_.grid_height, rows_);
  Band band;
  band.first_image = index / of_image * images_;
  band.images = std::min(images_, reading_.images - band.first_image);
  band.first_row = index % of_image * rows_;
  band.rows = std::min(rows_, reading_.grid_height - band.first_row);
  return band;
}

std::int32_t Bands::position(int image, int row, int column) const {
  const std::size_t step = reading_.step;
  return static_cast<std::int32_t>(image * image_stride_ + row * step * row_stride_ +
                                   column * step * reading_.channels);
}

std::int32_t Bands::tap(int row, int column, int channel) const {
  return static_cast<std::int32_t>((row - reading_.low) * row_stride_) +
         (column - reading_.low) * reading_.channels + channel;
}

const float* Bands::read(const Band& band, const void* tensor, float* scratch) const {
  if (direct_) {
    return static_cast<const float*>(tensor) + band.first_image * image_stride_ +
           static_cast<std::size_t>(band.first_row) * reading_.step * row_stride_;
  }
  const int first = reading_.first_row + band.first_row * reading_.step + reading_.low;
  const int rows = static_cast<int>(rows_of(band.rows));
  for (int image = 0; image < band.images; ++image) {
    float* to = scratch + image * image_stride_;
    for (int row = 0; row < rows; ++row, to += row_stride_) {
      copy_row(tensor, band.first_image + image, first + row, to);
    }
  }
  return scratch;
}

void Bands::copy_row(const void* tensor, int image, int row, float* to) const {
  if (row < 0 || row >= reading_.height) {
    std::fill_n(to, row_stride_, 0.0f);
    return;
  }
  const std::size_t channels = reading_.channels;
  const std::size_t before = -reading_.low * channels;
  const std::size_t count = std::min(reading_.width * channels, row_stride_ - before);
  const std::size_t from =
      (static_cast<std::size_t>(image) * reading_.height + row) * reading_.width * channels;
  std::fill_n(to, before, 0.0f);
  copy_numbers(number_, tensor, from, count, to + before);
  std::fill(to + before + count, to + row_stride_, 0.0f);
}

}  // namespace telvar::nn::portable
