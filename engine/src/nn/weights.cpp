#include "nn/weights.h"

#include <algorithm>
#include <string>
#include <vector>

namespace telvar::nn {
namespace {

using core::malformed_bytes;

constexpr std::uint32_t kMaxName = 256;  // bytes; our own have at most some twenty
constexpr std::string_view kVarianceSuffix = "running_var";

bool is_variance(std::string_view name) {
  return name.size() >= kVarianceSuffix.size() &&
         name.substr(name.size() - kVarianceSuffix.size()) == kVarianceSuffix;
}

/// The network's parameters by ascending name.
template <class Parameters>
auto by_name(Parameters& parameters) {
  std::vector<decltype(&parameters.front())> sorted;
  sorted.reserve(parameters.size());
  for (auto& parameter : parameters) sorted.push_back(&parameter);
  std::sort(sorted.begin(), sorted.end(),
            [](const auto* a, const auto* b) { return a->name < b->name; });
  return sorted;
}

void read_parameter(core::ByteReader& reader, Parameter& parameter) {
  const std::string subject = "tensor '" + parameter.name + "'";
  if (reader.text("tensor name", kMaxName) != parameter.name) {
    throw malformed_bytes(subject + " is missing");
  }
  const std::size_t rank = reader.u8("tensor rank");
  if (rank != parameter.shape.size()) {
    throw malformed_bytes(subject + " of rank " + std::to_string(rank) + ", wanted is " +
                          std::to_string(parameter.shape.size()));
  }
  for (std::size_t i = 0; i < rank; ++i) {
    const std::uint32_t size = reader.u32("tensor size");
    if (size != static_cast<std::uint32_t>(parameter.shape[i])) {
      throw malformed_bytes(subject + ", size " + std::to_string(i) + ": " + std::to_string(size) +
                            ", wanted is " + std::to_string(parameter.shape[i]));
    }
  }
  reader.floats(parameter.name.c_str(), parameter.values.data(), parameter.values.size());
  if (is_variance(parameter.name) && std::any_of(parameter.values.begin(), parameter.values.end(),
                                                 [](float value) { return value < 0; })) {
    throw malformed_bytes(subject + ": a variance is negative");
  }
}

}  // namespace

void write_weights(core::ByteWriter& writer, const Network& network) {
  writer.u32(static_cast<std::uint32_t>(network.parameters().size()));
  for (const Parameter* parameter : by_name(network.parameters())) {
    writer.text(parameter->name);
    writer.u8(static_cast<std::uint8_t>(parameter->shape.size()));
    for (const int size : parameter->shape) writer.u32(static_cast<std::uint32_t>(size));
    writer.floats(parameter->values.data(), parameter->values.size());
  }
}

void read_weights(core::ByteReader& reader, Network& network) {
  const std::uint32_t count = reader.u32("tensors");
  if (count != network.parameters().size()) {
    throw malformed_bytes(std::to_string(count) + " tensors, the network has " +
                          std::to_string(network.parameters().size()));
  }
  for (Parameter* parameter : by_name(network.parameters())) read_parameter(reader, *parameter);
}

}  // namespace telvar::nn
