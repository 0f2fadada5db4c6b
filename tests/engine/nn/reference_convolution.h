#pragma once

// Convolutions straight from their definition, in double precision.

#include <vector>

#include "nn/kernels.h"

namespace telvar::nn {

using Doubles = std::vector<double>;

/// Calls visit(input index, weight index, output index) for every product of a convolution.
template <class Visit>
void for_each_product(const ConvolutionGeometry& g, Visit visit) {
  const auto source = [&](int position, int tap, int pad) {
    return position * g.stride + tap * g.dilation - pad;
  };
  std::size_t output = 0;
  for (int image = 0; image < g.images; ++image) {
    for (int row = 0; row < g.out_height(); ++row) {
      for (int column = 0; column < g.out_width(); ++column) {
        for (int out = 0; out < g.out; ++out, ++output) {
          for (int tap = 0; tap < g.kernel * g.kernel; ++tap) {
            const int y = source(row, tap / g.kernel, g.pad_above());
            const int x = source(column, tap % g.kernel, g.pad_before());
            if (y < 0 || y >= g.height || x < 0 || x >= g.width) continue;
            for (int in = 0; in < g.in; ++in) {
              visit(((static_cast<std::size_t>(image) * g.height + y) * g.width + x) * g.in + in,
                    (static_cast<std::size_t>(out) * g.in + in) * g.kernel * g.kernel + tap,
                    output);
            }
          }
        }
      }
    }
  }
}

inline Doubles reference_sums(const ConvolutionGeometry& geometry, const Doubles& input,
                              const Doubles& weights) {
  Doubles output(geometry.output_size());
  for_each_product(geometry, [&](std::size_t in, std::size_t weight, std::size_t out) {
    output[out] += input[in] * weights[weight];
  });
  return output;
}

inline Doubles reference_input_gradient(const ConvolutionGeometry& geometry,
                                        const Doubles& output_gradient, const Doubles& weights) {
  Doubles gradient(geometry.input_size());
  for_each_product(geometry, [&](std::size_t in, std::size_t weight, std::size_t out) {
    gradient[in] += output_gradient[out] * weights[weight];
  });
  return gradient;
}

inline Doubles reference_weight_gradient(const ConvolutionGeometry& geometry, const Doubles& input,
                                         const Doubles& output_gradient) {
  Doubles gradient(geometry.weight_count());
  for_each_product(geometry, [&](std::size_t in, std::size_t weight, std::size_t out) {
    gradient[weight] += input[in] * output_gradient[out];
  });
  return gradient;
}

}  // namespace telvar::nn
