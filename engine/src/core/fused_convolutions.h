#pragma once

// A chain of convolutions as inference runs it, on oneDNN itself: the bias, the input of a residual
// and ReLU are applied while a result is still in registers. One operator after another, as the
// tensor library runs them, each of these reads and writes all planes once more.

#include <torch/torch.h>

#include <memory>
#include <vector>

namespace telvar::core {

/// Whether the processor multiplies bfloat16 numbers itself; elsewhere they would be slow.
bool computes_bfloat16();

struct FusedLayer {
  torch::Tensor weight;  // out x in x k x k floats, k odd
  torch::Tensor bias;    // out floats
  int stride = 1;
  int dilation = 1;
  bool residual = false;  // adds its input, which must have the shape of its output
  bool relu = true;
};

/// Immutable; any number of threads. Throws what rethrow_translated knows.
class FusedConvolutions {
 public:
  /// `number`: what it computes in, torch::kFloat or torch::kBFloat16. Copies the weights.
  FusedConvolutions(const std::vector<FusedLayer>& layers, torch::ScalarType number);
  ~FusedConvolutions();

  /// 1 x in x H x W floats to 1 x out x H' x W' floats, every layer padded with zeros such that
  /// H' = ceil(H / stride). Both contiguous. Takes the memory of two layers' results at once,
  /// and keeps it for the next call.
  torch::Tensor operator()(const torch::Tensor& input) const;

 private:
  struct Chain;
  std::unique_ptr<const Chain> chain_;
};

}  // namespace telvar::core
