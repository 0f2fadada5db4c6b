#include "nn/folded_network.h"

#include <cmath>

#include "nn/backpropagation.h"

namespace telvar::nn {
namespace {

FoldedWeights folded(const Network& network, const Layer& layer) {
  const auto& parameters = network.parameters();
  const LayerParameters& at = layer.parameters;
  FoldedWeights result{parameters[at.weight].values, {}};
  if (layer.kind == LayerKind::kPointwise) {
    result.bias = parameters[at.bias].values;
    return result;
  }
  result.bias.resize(layer.channels);
  const std::size_t fan_in = result.weight.size() / static_cast<std::size_t>(layer.channels);
  for (int c = 0; c < layer.channels; ++c) {
    const float scale =
        parameters[at.scale].values[c] /
        std::sqrt(parameters[at.variance].values[c] + static_cast<float>(kNormalisationEpsilon));
    for (std::size_t i = 0; i < fan_in; ++i) result.weight[c * fan_in + i] *= scale;
    result.bias[c] = parameters[at.shift].values[c] - parameters[at.mean].values[c] * scale;
  }
  return result;
}

}  // namespace

FoldedNetwork::FoldedNetwork(const Network& network, Number number, const KernelSet& kernels,
                             Node answer)
    : network_(network), number_(number), kernels_(kernels), answer_(answer) {
  for (Node i = 0; i <= answer; ++i) {
    const LayerKind kind = layers()[i].kind;
    const bool has_weights = kind == LayerKind::kConvolution || kind == LayerKind::kPointwise;
    weights_.push_back(has_weights ? folded(network, layers()[i]) : FoldedWeights{});
  }
  for (Parameter& parameter : network_.parameters()) parameter.values = {};
}

PackedConvolution FoldedNetwork::make_convolution(Node node,
                                                  const ConvolutionGeometry& geometry) const {
  PackedConvolution made;
  made.kernel =
      kernels_.make_convolution(geometry, number_, epilogue_of(node), KernelUse::kInference);
  made.weights = Buffer(made.kernel->packed_bytes());
  const Buffer scratch(made.kernel->scratch_bytes());
  made.kernel->pack(weights_[node].weight.data(), made.weights.data(), scratch.data());
  return made;
}

Epilogue FoldedNetwork::epilogue_of(Node node) const {
  const Layer& layer = layers()[node];
  Epilogue epilogue;
  epilogue.bias = true;
  epilogue.residual = layer.beside != kNone;
  epilogue.relu = layer.relu;
  epilogue.output = node == answer_ ? Number::kFloat : number_;
  return epilogue;
}

}  // namespace telvar::nn
