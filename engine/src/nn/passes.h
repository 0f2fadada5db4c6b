#pragma once

// What networks do beside convolutions, each as one pass over the values.
//
// Tensors are rows x channels: a row is a place of an image, channels are innermost. Sums over
// places are taken in a fixed order, and the passes run on the calling thread, so that a result
// depends on the processor's vector length alone.

#include <cstddef>

#include "nn/number.h"

namespace telvar::nn {

/// A tensor that passes read or write: `rows` places of `channels` values.
struct Extent {
  std::size_t rows = 0;
  int channels = 0;
  std::size_t count() const { return rows * static_cast<std::size_t>(channels); }
};

/// The sizes of a join: a fine tensor and a coarse one of half its sides, rounded up.
struct JoinExtent {
  int images = 0, height = 0, width = 0;  // of the fine tensor and of the result
  int fine_channels = 0, coarse_channels = 0;
};

/// The passes over tensors of one number, compiled for one instruction set.
struct Passes {
  void (*from_floats)(const float* from, std::size_t count, void* to);
  void (*to_floats)(const void* from, std::size_t count, float* to);

  /// to += from.
  void (*add)(void* to, const void* from, std::size_t count);

  /// Sum and sum of squares of every channel.
  void (*channel_sums)(const void* values, const Extent& extent, double* sums, double* squares);

  /// to = values * scale + shift (one of each a channel), plus `residual` where there is one, and
  /// nothing below zero if `relu`. `to` may be `values`.
  void (*normalise)(const void* values, const Extent& extent, const float* scale,
                    const float* shift, const void* residual, bool relu, void* to);

  /// Sets the gradient to zero where `output` (of a ReLU; null: of none) is not above zero, and
  /// sums for every channel what is left, alone and times `values`.
  void (*gradient_sums)(void* gradient, const void* output, const void* values,
                        const Extent& extent, double* sums, double* products);

  /// to = gradient * a + values * b + c, one of each a channel. `to` may be `gradient`.
  void (*combine)(const void* gradient, const void* values, const Extent& extent, const float* a,
                  const float* b, const float* c, void* to);

  /// Sets the fine values and the coarse ones, each repeated over two by two places, side by side.
  void (*join)(const void* fine, const void* coarse, const JoinExtent& extent, void* to);

  /// The gradients of both of a join's inputs. `add_fine`, `add_coarse`: adds to what is there.
  void (*split)(const void* gradient, const JoinExtent& extent, void* fine, bool add_fine,
                void* coarse, bool add_coarse);

  /// The mean over the places of every image: images x channels floats.
  void (*mean_places)(const void* values, int images, const Extent& image, float* means);

  /// The gradient of mean_places.
  void (*spread_mean)(const float* gradient, int images, const Extent& image, void* values);
};

/// The passes for the processor that this runs on.
const Passes& passes_over(Number number);

/// Planes (channels x places) to values with channels innermost.
void interleave(const float* planes, const Extent& extent, float* values);

/// What one step of AdamW (Loshchilov and Hutter, 2019) does to a parameter.
struct AdamStep {
  float rate;  // corrected for the start of the first moment
  float beta1, beta2;
  float square_scale;  // corrects the start of the second moment
  float keep;          // what decay leaves of the values: 1 - rate * decay
  float gradient_scale;
};
void adam_step(const AdamStep& step, const float* gradient, std::size_t count, float* mean,
               float* square, float* values);

}  // namespace telvar::nn
