#include "core/weights.h"

namespace telvar::core {
namespace {

constexpr std::uint32_t kMaxTensors = 4096;
constexpr std::uint32_t kMaxName = 256;
constexpr std::string_view kVarianceSuffix = "running_var";

bool is_variance(std::string_view name) {
  return name.size() >= kVarianceSuffix.size() &&
         name.substr(name.size() - kVarianceSuffix.size()) == kVarianceSuffix;
}

void read_tensor(ByteReader& reader, const std::string& name, torch::Tensor tensor) {
  if (reader.text("tensor name", kMaxName) != name) {
    throw malformed_bytes("tensor '" + name + "' is missing");
  }
  const int rank = reader.u8("tensor rank");
  if (rank != tensor.dim()) {
    throw malformed_bytes("tensor '" + name + "' of rank " + std::to_string(rank) + ", wanted is " +
                          std::to_string(tensor.dim()));
  }
  for (int i = 0; i < rank; ++i) {
    const std::uint32_t size = reader.u32("tensor size");
    if (size != tensor.size(i)) {
      throw malformed_bytes("tensor '" + name + "', size " + std::to_string(i) + ": " +
                            std::to_string(size) + ", wanted is " + std::to_string(tensor.size(i)));
    }
  }
  std::vector<float> values = reader.floats(name.c_str(), tensor.numel());
  for (const float value : values) {
    if (is_variance(name) && value < 0) {
      throw malformed_bytes("tensor '" + name + "': a variance is negative");
    }
  }
  tensor.copy_(torch::from_blob(values.data(), tensor.sizes()));
}

}  // namespace

std::map<std::string, torch::Tensor> state_of(const torch::nn::Module& module) {
  std::map<std::string, torch::Tensor> state;
  for (const auto& item : module.named_parameters()) state[item.key()] = item.value().detach();
  for (const auto& item : module.named_buffers()) {
    if (item.value().is_floating_point()) state[item.key()] = item.value().detach();
  }
  return state;
}

void write_state(ByteWriter& writer, const torch::nn::Module& module) {
  const auto state = state_of(module);
  writer.u32(static_cast<std::uint32_t>(state.size()));
  for (const auto& [name, tensor] : state) {
    writer.text(name);
    writer.u8(static_cast<std::uint8_t>(tensor.dim()));
    for (const auto size : tensor.sizes()) writer.u32(static_cast<std::uint32_t>(size));
    writer.floats(tensor.contiguous().data_ptr<float>(), tensor.numel());
  }
}

void read_state(ByteReader& reader, torch::nn::Module& module) {
  const torch::NoGradGuard no_grad;
  const auto state = state_of(module);
  if (reader.count("tensors", 0, kMaxTensors) != state.size()) {
    throw malformed_bytes("the network has " + std::to_string(state.size()) + " tensors");
  }
  for (const auto& [name, tensor] : state) read_tensor(reader, name, tensor);
}

void copy_state(const torch::nn::Module& from, torch::nn::Module& to) {
  const torch::NoGradGuard no_grad;
  const auto source = state_of(from);
  for (auto& [name, tensor] : state_of(to)) {
    torch::Tensor target = tensor;
    target.copy_(source.at(name));
  }
}

}  // namespace telvar::core
