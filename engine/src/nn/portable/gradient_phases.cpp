#include "nn/portable/gradient_phases.h"

#include <algorithm>

namespace telvar::nn::portable {

namespace {

/// A tap of one axis, and how many output rows below an input row (both counted in the phase) the
/// value lies that it multiplies.
struct AxisTap {
  int tap;
  int shift;
};

/// Input row i * stride + remainder meets output row i + shift by this tap.
std::vector<AxisTap> axis_taps(const ConvolutionGeometry& geometry, int remainder) {
  std::vector<AxisTap> taps;
  for (int tap = 0; tap < geometry.kernel; ++tap) {
    const int distance = remainder + geometry.pad_before() - geometry.dilation * tap;
    if (distance % geometry.stride == 0) taps.push_back({tap, distance / geometry.stride});
  }
  return taps;
}

/// How many of `size` indices have this remainder.
int count_of(int size, int remainder, int stride) {
  return size > remainder ? (size - remainder - 1) / stride + 1 : 0;
}

void add_taps(const ConvolutionGeometry& geometry, const Bands& bands, int row, int column,
              Phase& phase) {
  for (const AxisTap& vertical : axis_taps(geometry, row)) {
    for (const AxisTap& horizontal : axis_taps(geometry, column)) {
      phase.taps.push_back(vertical.tap * geometry.kernel + horizontal.tap);
      for (int channel = 0; channel < geometry.out; ++channel) {
        phase.depth_offsets.push_back(bands.tap(vertical.shift, horizontal.shift, channel));
      }
    }
  }
}

void add_positions(const ConvolutionGeometry& geometry, const Bands& bands, int row, int column,
                   Phase& phase) {
  const int rows = std::min(bands.max_rows(), phase.height);
  for (int image = 0; image < bands.max_images(); ++image) {
    for (int i = 0; i < rows; ++i) {
      for (int j = 0; j < phase.width; ++j) {
        const int y = image * geometry.height + i * geometry.stride + row;
        const int x = j * geometry.stride + column;
        phase.row_offsets.push_back(bands.position(image, i, j));
        phase.result_offsets.push_back((y * geometry.width + x) * geometry.in);
      }
    }
  }
}

}  // namespace

Reading gradient_reading(const ConvolutionGeometry& geometry) {
  Reading reading;
  reading.images = geometry.images;
  reading.height = reading.grid_height = geometry.out_height();
  reading.width = reading.grid_width = geometry.out_width();
  reading.channels = geometry.out;
  for (int remainder = 0; remainder < geometry.stride; ++remainder) {
    for (const AxisTap& tap : axis_taps(geometry, remainder)) {
      reading.low = std::min(reading.low, tap.shift);
      reading.high = std::max(reading.high, tap.shift);
    }
  }
  return reading;
}

std::vector<Phase> gradient_phases(const ConvolutionGeometry& geometry, const Bands& bands) {
  std::vector<Phase> phases;
  for (int row = 0; row < geometry.stride; ++row) {
    for (int column = 0; column < geometry.stride; ++column) {
      Phase phase{count_of(geometry.height, row, geometry.stride),
                  count_of(geometry.width, column, geometry.stride),
                  {},
                  {},
                  {},
                  {}};
      add_taps(geometry, bands, row, column, phase);
      add_positions(geometry, bands, row, column, phase);
      phases.push_back(std::move(phase));
    }
  }
  return phases;
}

}  // namespace telvar::nn::portable
