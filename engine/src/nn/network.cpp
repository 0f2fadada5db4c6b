#include "nn/network.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace telvar::nn {
namespace {

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

float initial_value(const Parameter& parameter) {
  return ends_with(parameter.name, "norm.weight") || ends_with(parameter.name, "running_var") ? 1
                                                                                              : 0;
}

template <class Parameters>
auto& find_parameter(Parameters& parameters, std::string_view name) {
  const auto found = std::find_if(parameters.begin(), parameters.end(),
                                  [&](const Parameter& one) { return one.name == name; });
  if (found == parameters.end()) throw std::out_of_range("no parameter " + std::string(name));
  return *found;
}

/// Rows of a head's weights or biases to their new places.
void place_rows(const Parameter& from, const std::vector<int>& places, Parameter& to) {
  const std::size_t size = from.values.size() / static_cast<std::size_t>(from.shape.front());
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (places[i] == kNone) continue;
    std::copy_n(from.values.begin() + static_cast<std::ptrdiff_t>(i * size), size,
                to.values.begin() + static_cast<std::ptrdiff_t>(places[i] * size));
  }
}

/// A convolution's weights into one with more input channels, whose weights for these become 0, or
/// with fewer, which are the first.
void place_inputs(const Parameter& from, Parameter& to) {
  const std::size_t out = from.shape[0];
  const std::size_t old_size = from.values.size() / out, size = to.values.size() / out;
  std::fill(to.values.begin(), to.values.end(), 0.0f);
  for (std::size_t i = 0; i < out; ++i) {
    std::copy_n(from.values.begin() + static_cast<std::ptrdiff_t>(i * old_size),
                std::min(old_size, size),
                to.values.begin() + static_cast<std::ptrdiff_t>(i * size));
  }
}

}  // namespace

Node Network::add(const Layer& layer) {
  layers_.push_back(layer);
  return static_cast<Node>(layers_.size()) - 1;
}

int Network::add_parameter(std::string name, std::vector<int> shape, bool trained) {
  const int count = std::accumulate(shape.begin(), shape.end(), 1, std::multiplies<>());
  Parameter parameter{std::move(name), std::move(shape), {}, trained};
  parameter.values.assign(static_cast<std::size_t>(count), initial_value(parameter));
  parameters_.push_back(std::move(parameter));
  return static_cast<int>(parameters_.size()) - 1;
}

Node Network::input(int channels) {
  Layer layer;
  layer.channels = channels;
  return add(layer);
}

Node Network::convolution(const std::string& name, Node from, int channels,
                          const ConvolutionOptions& options) {
  Layer layer{LayerKind::kConvolution,
              from,
              options.residual,
              channels,
              options.kernel,
              options.stride,
              options.dilation,
              options.relu,
              {}};
  layer.parameters.weight =
      add_parameter(name + ".convolution.weight",
                    {channels, layers_[from].channels, options.kernel, options.kernel});
  layer.parameters.scale = add_parameter(name + ".norm.weight", {channels});
  layer.parameters.shift = add_parameter(name + ".norm.bias", {channels});
  layer.parameters.mean = add_parameter(name + ".norm.running_mean", {channels}, false);
  layer.parameters.variance = add_parameter(name + ".norm.running_var", {channels}, false);
  return add(layer);
}

Node Network::pointwise(const std::string& name, Node from, int channels) {
  Layer layer;
  layer.kind = LayerKind::kPointwise;
  layer.from = from;
  layer.channels = channels;
  layer.parameters.weight =
      add_parameter(name + ".weight", {channels, layers_[from].channels, 1, 1});
  layer.parameters.bias = add_parameter(name + ".bias", {channels});
  return add(layer);
}

Node Network::join(Node fine, Node coarse) {
  Layer layer;
  layer.kind = LayerKind::kJoin;
  layer.from = fine;
  layer.beside = coarse;
  layer.channels = layers_[fine].channels + layers_[coarse].channels;
  return add(layer);
}

Node Network::residual_block(const std::string& name, Node from, int channels, int stride) {
  const bool same = channels == layers_[from].channels && stride == 1;
  ConvolutionOptions first, second, shortcut;
  first.stride = shortcut.stride = stride;
  shortcut.kernel = 1;
  shortcut.relu = false;
  const Node inner = convolution(name + ".first", from, channels, first);
  second.residual = same ? from : convolution(name + ".shortcut", from, channels, shortcut);
  return convolution(name + ".second", inner, channels, second);
}

Node Network::mean(Node from) {
  Layer layer;
  layer.kind = LayerKind::kMean;
  layer.from = from;
  layer.channels = layers_[from].channels;
  return add(layer);
}

Parameter& Network::parameter(std::string_view name) {
  return find_parameter(parameters_, name);
}

const Parameter& Network::parameter(std::string_view name) const {
  return find_parameter(parameters_, name);
}

void Network::initialise(core::Random& random) {
  for (Parameter& parameter : parameters_) {
    if (!parameter.decays()) {
      std::fill(parameter.values.begin(), parameter.values.end(), initial_value(parameter));
      continue;
    }
    const auto fan_in =
        static_cast<float>(parameter.values.size()) / static_cast<float>(parameter.shape.front());
    const float deviation = std::sqrt(2.0f / fan_in);
    for (float& value : parameter.values) value = deviation * random.normal();
  }
}

void Network::adopt(const Network& other, const std::string& head, const std::vector<int>& places) {
  for (Parameter& target : parameters_) {
    const Parameter& source = other.parameter(target.name);
    if (target.name == head + ".weight" || target.name == head + ".bias") {
      place_rows(source, places, target);
    } else if (source.shape == target.shape) {
      target.values = source.values;
    } else {
      place_inputs(source, target);
    }
  }
}

}  // namespace telvar::nn
