#pragma once

// The gradient of a convolution's input, as convolutions of the gradient of its output.
//
// With a stride s, an input position meets only the taps that a multiple of s leads to. Positions
// with the same remainder of row and column by s meet the same taps: they make up a phase, which is
// a convolution of stride 1 with some of the taps. There are s * s phases, and together they read
// every tap once.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "nn/kernels.h"
#include "nn/portable/bands.h"

namespace telvar::nn::portable {

struct Phase {
  int height;  // of its positions in an image
  int width;
  std::vector<int> taps;  // row * kernel + column
  // What the product needs. The tables are those of the largest band; others use their begin.
  std::vector<std::int32_t> depth_offsets;
  std::vector<std::int32_t> row_offsets;
  std::vector<std::int32_t> result_offsets;  // from the band's first row of the input's gradient
};

/// How the gradient of the output is read.
Reading gradient_reading(const ConvolutionGeometry& geometry);

/// All phases. `bands` are those of gradient_reading().
std::vector<Phase> gradient_phases(const ConvolutionGeometry& geometry, const Bands& bands);

}  // namespace telvar::nn::portable
