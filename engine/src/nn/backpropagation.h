#pragma once

// A network forward and backward over inputs of one size, for training.

#include <memory>
#include <vector>

#include "nn/buffer.h"
#include "nn/kernels.h"
#include "nn/network.h"
#include "nn/shapes.h"

namespace telvar::nn {

/// Batch normalisation adds this to variances.
constexpr double kNormalisationEpsilon = 1e-5;

/// What all chunks of a training share: kernels for the input size, and weights packed for them.
class TrainingKernels {
 public:
  /// `network` must outlive it, and stay where it is.
  TrainingKernels(const Network& network, const InputSize& size, Number number,
                  const KernelSet& kernels);

  const Network& network() const { return network_; }
  Number number() const { return number_; }
  const std::vector<TensorShape>& shapes() const { return shapes_; }

  /// Takes over a layer's weights as they are now; every layer once before each step. Different
  /// layers may be packed at once.
  void pack(int layer);

  /// One layer's convolution; null for layers of other kinds.
  struct LayerKernel {
    std::unique_ptr<const Convolution> convolution;
    Buffer packed, packed_for_gradient, scratch;  // scratch: for packing
  };
  const LayerKernel& layer(int index) const { return layers_[index]; }
  std::size_t scratch_bytes() const { return scratch_bytes_; }

 private:
  const Network& network_;
  Number number_;
  std::vector<TensorShape> shapes_;
  std::vector<LayerKernel> layers_;
  std::size_t scratch_bytes_ = 0;
};

/// One chunk of a batch on its way through a network and back. Not for several threads at once.
///
///   fill(chunk.input());
///   loss(chunk.forward(), chunk.answer_gradient());
///   chunk.backward();
class ChunkPass {
 public:
  explicit ChunkPass(const TrainingKernels& kernels);

  /// Images x height x width x channels floats, to be filled.
  float* input() { return input_.floats(); }
  const TensorShape& input_shape() const { return kernels_.shapes().front(); }
  const TensorShape& answer_shape() const { return kernels_.shapes().back(); }

  /// The answer of the last layer, normalised by this chunk's own statistics.
  const float* forward();

  /// To be filled with the gradient of the loss; has the answer's shape.
  float* answer_gradient() { return answer_gradient_.floats(); }
  void backward();

  /// The gradient of a trained parameter; of one that is not trained, this chunk's own statistic.
  const float* gradient(int parameter) const {
    return gradients_.floats() + gradient_offsets_[parameter];
  }

 private:
  struct NodeMemory {
    Buffer sums;      // of a convolution, before its normalisation
    Buffer values;    // what the layer computes
    Buffer gradient;  // of the values
    bool has_gradient = false;
    std::vector<float> scale, shift;  // of the normalisation
    std::vector<double> mean, inverse_deviation;
  };

  void forward_layer(int index);
  void forward_convolution(int index);
  void forward_pointwise(int index);
  void forward_mean(int index);
  void measure(int index);

  void backward_layer(int index);
  void backward_convolution(int index);
  void backward_pointwise(int index);
  void backward_join(int index);
  void backward_mean(int index);
  void convolution_gradients(int index, const void* output_gradient);
  /// Adds to a node's gradient, or sets it when it is the first.
  void pass_on(Node node, const void* gradient);
  float* gradient_of(int parameter) { return gradients_.floats() + gradient_offsets_[parameter]; }

  const Layer& layer(int index) const { return kernels_.network().layers()[index]; }
  const TensorShape& shape(int index) const { return kernels_.shapes()[index]; }
  bool is_answer(int index) const { return index + 1 == static_cast<int>(nodes_.size()); }

  const TrainingKernels& kernels_;
  Number number_;
  std::vector<NodeMemory> nodes_;
  Buffer input_, answer_, answer_gradient_, means_, scratch_, spare_;
  Buffer gradients_;
  std::vector<std::size_t> gradient_offsets_;
  std::vector<double> sums_, products_;  // a value a channel
  std::vector<float> a_, b_, c_;
};

}  // namespace telvar::nn
