#pragma once

// A trained network as processing runs it: normalisation is folded into the convolutions, and bias,
// residual and ReLU are applied while a result is still in registers.

#include <memory>
#include <vector>

#include "nn/kernels.h"
#include "nn/network.h"
#include "nn/shapes.h"

namespace telvar::nn {

/// Images x height x width x channels floats, channels innermost.
struct Answer {
  TensorShape shape;
  std::vector<float> values;

  const float* at(int image, int y, int x) const {
    return values.data() +
           ((static_cast<std::size_t>(image) * shape.height + y) * shape.width + x) *
               shape.channels;
  }
};

/// Immutable to its users; any number of threads may call it at once. It keeps the kernels of the
/// widths of single images, and of the sizes of batches, that it met last, and the memory of calls
/// that have ended for the next ones.
class Inference {
 public:
  /// Copies the weights. `answer`: the layer whose result is wanted, a pointwise one or a mean;
  /// kNone: the last.
  explicit Inference(const Network& network, Number number,
                     const KernelSet& kernels = default_kernels(), Node answer = kNone);
  Inference(Inference&&) noexcept;
  ~Inference();

  /// `input`: images x height x width x channels floats.
  Answer operator()(const float* input, const InputSize& size) const;

 private:
  class State;
  std::unique_ptr<State> state_;
};

}  // namespace telvar::nn
