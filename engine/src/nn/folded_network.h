#pragma once

// A trained network as inference computes it: normalisation is moved into the weights of the
// convolution before it, and bias, residual and ReLU are applied while a result is still in
// registers.

#include <memory>
#include <vector>

#include "nn/buffer.h"
#include "nn/kernels.h"
#include "nn/network.h"

namespace telvar::nn {

struct FoldedWeights {
  std::vector<float> weight, bias;  // empty where a layer has none
};

/// A convolution and its weights in the kernel's order.
struct PackedConvolution {
  std::unique_ptr<const Convolution> kernel;
  Buffer weights;
};

class FoldedNetwork {
 public:
  /// Copies the layers up to `answer`. `number`: what their results are stored in; the answer is
  /// of single precision.
  FoldedNetwork(const Network& network, Number number, const KernelSet& kernels, Node answer);

  const std::vector<Layer>& layers() const { return network_.layers(); }
  const Network& network() const { return network_; }
  Number number() const { return number_; }
  Node answer() const { return answer_; }

  bool has_weights(Node node) const { return !weights_[node].weight.empty(); }
  const float* bias(Node node) const { return weights_[node].bias.data(); }

  /// The convolution of a layer that has weights, over an input of known size.
  PackedConvolution make_convolution(Node node, const ConvolutionGeometry& geometry) const;

 private:
  Epilogue epilogue_of(Node node) const;

  Network network_;  // its layers; the weights are folded
  Number number_;
  const KernelSet& kernels_;
  Node answer_;
  std::vector<FoldedWeights> weights_;
};

}  // namespace telvar::nn
