#pragma once

// A network as a list of layers in the order they are computed. A tool writes its network down
// once; training (nn/training.h) and inference (nn/inference.h) both follow the list.
//
//   Network net;
//   ConvolutionOptions first, second;
//   first.kernel = 5;
//   first.stride = 2;
//   second.residual = net.convolution("stem", net.input(1), 32, first);
//   const Node fine = net.convolution("fine", second.residual, 32, second);
//   net.pointwise("head", fine, 10);
//   net.initialise(random);
//
// The last layer is the answer. Networks are values: a copy has weights of its own.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "core/random.h"

namespace telvar::nn {

/// What one layer computes, by its place in the list.
using Node = int;
constexpr Node kNone = -1;

/// Values that a network has learned: weights, or statistics of normalisation.
struct Parameter {
  std::string name;        // "stem.convolution.weight"
  std::vector<int> shape;  // convolutions: out, in, k, k
  std::vector<float> values;
  bool trained = true;  // by gradients; statistics are not

  /// Weight decay is for matrices only.
  bool decays() const { return shape.size() > 1; }
};

enum class LayerKind { kInput, kConvolution, kPointwise, kJoin, kMean };

/// Where a layer's parameters stand in the network's list.
struct LayerParameters {
  int weight = -1;
  int bias = -1;   // pointwise
  int scale = -1;  // normalisation, all four
  int shift = -1;
  int mean = -1;
  int variance = -1;
};

struct Layer {
  LayerKind kind = LayerKind::kInput;
  Node from = kNone;
  Node beside = kNone;  // the residual of a convolution, the coarse input of a join
  int channels = 0;     // of what it computes
  int kernel = 1;
  int stride = 1;
  int dilation = 1;
  bool relu = false;
  LayerParameters parameters;
};

struct ConvolutionOptions {
  int kernel = 3;
  int stride = 1;
  int dilation = 1;
  bool relu = true;
  Node residual = kNone;  // added before the ReLU; of the output's shape
};

class Network {
 public:
  /// Images of so many channels. The first layer, and the only input.
  Node input(int channels);
  /// Convolution without bias, padded with zeros to ceil(side / stride), batch normalisation (Ioffe
  /// and Szegedy, 2015), the residual, ReLU.
  Node convolution(const std::string& name, Node from, int channels,
                   const ConvolutionOptions& options = {});
  /// A 1 x 1 convolution with bias and nothing after it.
  Node pointwise(const std::string& name, Node from, int channels);
  /// `fine` and `coarse`, enlarged two-fold by repetition, side by side. The sides of `coarse` are
  /// half of those of `fine`, rounded up.
  Node join(Node fine, Node coarse);
  /// Two 3 x 3 convolutions beside a shortcut (a 1 x 1 convolution where the shape changes),
  /// summed, then ReLU (He et al., 2016).
  Node residual_block(const std::string& name, Node from, int channels, int stride);
  /// The mean over all places of each image.
  Node mean(Node from);

  const std::vector<Layer>& layers() const { return layers_; }
  const std::vector<Parameter>& parameters() const { return parameters_; }
  std::vector<Parameter>& parameters() { return parameters_; }
  /// Throws std::out_of_range.
  Parameter& parameter(std::string_view name);
  const Parameter& parameter(std::string_view name) const;

  int input_channels() const { return layers_.front().channels; }
  int answer_channels() const { return layers_.back().channels; }

  /// Weights normal with variance 2 / fan-in (He et al., 2015), biases and shifts 0, scales and
  /// variances 1. Depends on `random` alone.
  void initialise(core::Random& random);

  /// Takes over what a network of the same layers, but with other answers and perhaps another
  /// number of input channels, has learned: answer i of its pointwise layer `head` becomes answer
  /// places[i] here, and is left out where that is kNone; answers that it does not have stay as
  /// they are. Weights of input channels that it does not have become 0; the last of its own are
  /// left out where it has more. Throws std::out_of_range when the layers differ.
  void adopt(const Network& other, const std::string& head, const std::vector<int>& places);

 private:
  Node add(const Layer& layer);
  int add_parameter(std::string name, std::vector<int> shape, bool trained = true);

  std::vector<Layer> layers_;
  std::vector<Parameter> parameters_;
};

}  // namespace telvar::nn
