#include "nn/backpropagation.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace telvar::nn {
namespace {

bool is_convolution(const Layer& layer) {
  return layer.kind == LayerKind::kConvolution || layer.kind == LayerKind::kPointwise;
}

/// What a training's convolution adds to its sums: the bias of an answer, and nothing elsewhere.
/// Normalisation, residual and ReLU have to wait for the statistics of all sums.
Epilogue epilogue_of(const Layer& layer, Number number) {
  Epilogue epilogue;
  epilogue.bias = layer.kind == LayerKind::kPointwise;
  epilogue.output = layer.kind == LayerKind::kPointwise ? Number::kFloat : number;
  return epilogue;
}

}  // namespace

TrainingKernels::TrainingKernels(const Network& network, const InputSize& size, Number number,
                                 const KernelSet& kernels)
    : network_(network),
      number_(number),
      shapes_(shapes_of(network, size)),
      layers_(network.layers().size()) {
  for (std::size_t i = 0; i < layers_.size(); ++i) {
    const Layer& layer = network.layers()[i];
    if (!is_convolution(layer)) continue;
    LayerKernel& made = layers_[i];
    made.convolution = kernels.make_convolution(geometry_of(layer, shapes_[layer.from]), number,
                                                epilogue_of(layer, number), KernelUse::kTraining);
    made.packed = Buffer(made.convolution->packed_bytes());
    made.packed_for_gradient = Buffer(made.convolution->packed_gradient_bytes());
    made.scratch = Buffer(made.convolution->scratch_bytes());
    scratch_bytes_ = std::max(scratch_bytes_, made.convolution->scratch_bytes());
  }
}

void TrainingKernels::pack(int index) {
  LayerKernel& layer = layers_[index];
  if (layer.convolution == nullptr) return;
  const Layer& described = network_.layers()[index];
  const float* weights = network_.parameters()[described.parameters.weight].values.data();
  layer.convolution->pack(weights, layer.packed.data(), layer.scratch.data());
  layer.convolution->pack_for_gradient(weights, layer.packed_for_gradient.data(),
                                       layer.scratch.data());
}

ChunkPass::ChunkPass(const TrainingKernels& kernels)
    : kernels_(kernels), number_(kernels.number()), nodes_(kernels.shapes().size()) {
  std::size_t largest = 0;
  int widest = 0;
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    const std::size_t bytes = shape(i).count() * size_of(number_);
    const bool answer = is_answer(static_cast<int>(i));
    if (!answer) nodes_[i].values = Buffer(bytes);
    if (layer(i).kind == LayerKind::kConvolution) nodes_[i].sums = Buffer(bytes);
    if (i > 0) nodes_[i].gradient = Buffer(bytes);
    largest = std::max(largest, bytes);
    widest = std::max(widest, shape(i).channels);
  }
  input_ = Buffer(shape(0).count() * sizeof(float));
  answer_ = Buffer(answer_shape().count() * sizeof(float));
  answer_gradient_ = Buffer(answer_shape().count() * sizeof(float));
  means_ = Buffer(static_cast<std::size_t>(answer_shape().images) * widest * sizeof(float));
  spare_ = Buffer(largest);
  scratch_ = Buffer(kernels.scratch_bytes());
  sums_.resize(widest);
  products_.resize(widest);
  for (auto* row : {&a_, &b_, &c_}) row->resize(widest);
  std::size_t end = 0;
  for (const Parameter& parameter : kernels.network().parameters()) {
    gradient_offsets_.push_back(end);
    end += aligned(parameter.values.size() * sizeof(float)) / sizeof(float);
  }
  gradients_ = Buffer(end * sizeof(float));
}

const float* ChunkPass::forward() {
  passes_over(number_).from_floats(input_.floats(), shape(0).count(), nodes_[0].values.data());
  for (std::size_t i = 1; i < nodes_.size(); ++i) forward_layer(static_cast<int>(i));
  return answer_.floats();
}

void ChunkPass::forward_layer(int index) {
  const Layer& described = layer(index);
  switch (described.kind) {
    case LayerKind::kInput:
      break;
    case LayerKind::kConvolution:
      forward_convolution(index);
      break;
    case LayerKind::kPointwise:
      forward_pointwise(index);
      break;
    case LayerKind::kJoin:
      passes_over(number_).join(
          nodes_[described.from].values.data(), nodes_[described.beside].values.data(),
          join_extent(shape(described.from), shape(described.beside)), nodes_[index].values.data());
      break;
    case LayerKind::kMean:
      forward_mean(index);
      break;
  }
}

void ChunkPass::forward_convolution(int index) {
  const Layer& described = layer(index);
  const auto& kernel = kernels_.layer(index);
  NodeMemory& node = nodes_[index];
  kernel.convolution->forward(nodes_[described.from].values.data(), kernel.packed.data(), nullptr,
                              nullptr, node.sums.data(), scratch_.data());
  measure(index);
  const void* residual =
      described.beside == kNone ? nullptr : nodes_[described.beside].values.data();
  passes_over(number_).normalise(node.sums.data(), shape(index).extent(), node.scale.data(),
                                 node.shift.data(), residual, described.relu, node.values.data());
}

/// Measures mean and variance of a convolution's sums, and derives from them the scale and shift by
/// which the sums are normalised. In the place of their gradients, mean and variance themselves are
/// left, which the training's running statistics follow.
void ChunkPass::measure(int index) {
  const LayerParameters& at = layer(index).parameters;
  NodeMemory& node = nodes_[index];
  const Extent extent = shape(index).extent();
  const auto rows = static_cast<double>(extent.rows);
  const auto channels = static_cast<std::size_t>(extent.channels);
  passes_over(number_).channel_sums(node.sums.data(), extent, sums_.data(), products_.data());
  node.scale.resize(channels);
  node.shift.resize(channels);
  node.mean.resize(channels);
  node.inverse_deviation.resize(channels);
  const float* scale = kernels_.network().parameters()[at.scale].values.data();
  const float* shift = kernels_.network().parameters()[at.shift].values.data();
  for (std::size_t c = 0; c < channels; ++c) {
    const double mean = sums_[c] / rows;
    const double variance = std::max(0.0, products_[c] / rows - mean * mean);
    node.mean[c] = mean;
    node.inverse_deviation[c] = 1 / std::sqrt(variance + kNormalisationEpsilon);
    node.scale[c] = static_cast<float>(scale[c] * node.inverse_deviation[c]);
    node.shift[c] = static_cast<float>(shift[c] - mean * scale[c] * node.inverse_deviation[c]);
    gradient_of(at.mean)[c] = static_cast<float>(mean);
    gradient_of(at.variance)[c] = static_cast<float>(variance * rows / std::max(1.0, rows - 1));
  }
}

void ChunkPass::forward_pointwise(int index) {
  const Layer& described = layer(index);
  const auto& kernel = kernels_.layer(index);
  const float* bias = kernels_.network().parameters()[described.parameters.bias].values.data();
  kernel.convolution->forward(nodes_[described.from].values.data(), kernel.packed.data(), bias,
                              nullptr, answer_.data(), scratch_.data());
}

void ChunkPass::forward_mean(int index) {
  const TensorShape& from = shape(layer(index).from);
  const Extent image{static_cast<std::size_t>(from.height) * from.width, from.channels};
  passes_over(number_).mean_places(nodes_[layer(index).from].values.data(), from.images, image,
                                   means_.floats());
  passes_over(number_).from_floats(means_.floats(), shape(index).count(),
                                   nodes_[index].values.data());
}

void ChunkPass::backward() {
  for (NodeMemory& node : nodes_) node.has_gradient = false;
  for (std::size_t i = nodes_.size() - 1; i > 0; --i) backward_layer(static_cast<int>(i));
}

void ChunkPass::backward_layer(int index) {
  switch (layer(index).kind) {
    case LayerKind::kInput:
      break;
    case LayerKind::kConvolution:
      backward_convolution(index);
      break;
    case LayerKind::kPointwise:
      backward_pointwise(index);
      break;
    case LayerKind::kJoin:
      backward_join(index);
      break;
    case LayerKind::kMean:
      backward_mean(index);
      break;
  }
}

void ChunkPass::pass_on(Node target, const void* gradient) {
  NodeMemory& node = nodes_[target];
  const std::size_t count = shape(target).count();
  if (node.has_gradient) {
    passes_over(number_).add(node.gradient.data(), gradient, count);
  } else {
    std::memcpy(node.gradient.data(), gradient, count * size_of(number_));
  }
  node.has_gradient = true;
}

void ChunkPass::convolution_gradients(int index, const void* output_gradient) {
  const Layer& described = layer(index);
  const auto& kernel = kernels_.layer(index);
  NodeMemory& from = nodes_[described.from];
  kernel.convolution->weight_gradient(from.values.data(), output_gradient,
                                      gradient_of(described.parameters.weight), scratch_.data());
  if (described.from == 0) return;
  Buffer& target = from.has_gradient ? spare_ : from.gradient;
  kernel.convolution->input_gradient(output_gradient, kernel.packed_for_gradient.data(),
                                     target.data(), scratch_.data());
  if (from.has_gradient) pass_on(described.from, spare_.data());
  from.has_gradient = true;
}

/// From the gradient g of the normalised values to that of the sums x. With n rows, deviation s,
/// scale w and y = w (x - mean) / s + shift, a channel's gradient is
///   dw = sum(g (x - mean)) / s,   dx = w/s (g - sum(g) / n - (x - mean) / s * dw / n),
/// which is a g + b x + c with the a, b and c below; node.scale is w/s.
void ChunkPass::backward_convolution(int index) {
  const Layer& described = layer(index);
  NodeMemory& node = nodes_[index];
  const Extent extent = shape(index).extent();
  const auto rows = static_cast<double>(extent.rows);
  passes_over(number_).gradient_sums(node.gradient.data(),
                                     described.relu ? node.values.data() : nullptr,
                                     node.sums.data(), extent, sums_.data(), products_.data());
  if (described.beside != kNone) pass_on(described.beside, node.gradient.data());
  for (int c = 0; c < extent.channels; ++c) {
    const double inverse = node.inverse_deviation[c], mean = node.mean[c];
    const double scale_gradient = inverse * (products_[c] - mean * sums_[c]);
    gradient_of(described.parameters.scale)[c] = static_cast<float>(scale_gradient);
    gradient_of(described.parameters.shift)[c] = static_cast<float>(sums_[c]);
    const double slope = inverse * scale_gradient / rows;
    a_[c] = node.scale[c];
    b_[c] = static_cast<float>(-node.scale[c] * slope);
    c_[c] = static_cast<float>(node.scale[c] * (mean * slope - sums_[c] / rows));
  }
  passes_over(number_).combine(node.gradient.data(), node.sums.data(), extent, a_.data(), b_.data(),
                               c_.data(), node.gradient.data());
  convolution_gradients(index, node.gradient.data());
}

void ChunkPass::backward_pointwise(int index) {
  const Extent extent = shape(index).extent();
  const float* gradient = answer_gradient_.floats();
  passes_over(Number::kFloat).channel_sums(gradient, extent, sums_.data(), products_.data());
  float* bias = gradient_of(layer(index).parameters.bias);
  for (int c = 0; c < extent.channels; ++c) bias[c] = static_cast<float>(sums_[c]);
  passes_over(number_).from_floats(gradient, extent.count(), nodes_[index].gradient.data());
  convolution_gradients(index, nodes_[index].gradient.data());
}

void ChunkPass::backward_join(int index) {
  const Layer& described = layer(index);
  NodeMemory &fine = nodes_[described.from], &coarse = nodes_[described.beside];
  passes_over(number_).split(
      nodes_[index].gradient.data(), join_extent(shape(described.from), shape(described.beside)),
      fine.gradient.data(), fine.has_gradient, coarse.gradient.data(), coarse.has_gradient);
  fine.has_gradient = coarse.has_gradient = true;
}

void ChunkPass::backward_mean(int index) {
  const Layer& described = layer(index);
  const TensorShape& from = shape(described.from);
  const Extent image{static_cast<std::size_t>(from.height) * from.width, from.channels};
  passes_over(number_).to_floats(nodes_[index].gradient.data(), shape(index).count(),
                                 means_.floats());
  NodeMemory& target = nodes_[described.from];
  void* to = target.has_gradient ? spare_.data() : target.gradient.data();
  passes_over(number_).spread_mean(means_.floats(), from.images, image, to);
  if (target.has_gradient) pass_on(described.from, spare_.data());
  target.has_gradient = true;
}

}  // namespace telvar::nn
