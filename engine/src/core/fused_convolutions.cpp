#include "core/fused_convolutions.h"

#include <algorithm>
#include <array>
#include <dnnl.hpp>
#include <mutex>
#include <utility>

namespace telvar::core {
namespace {

using Convolution = dnnl::convolution_forward;
using dnnl::memory;

constexpr auto kFloat = memory::data_type::f32;
constexpr auto kAnyLayout = memory::format_tag::any;
constexpr std::int64_t kUsualSide = 64;  // of the input for which weights are laid out

memory::desc plain(const memory::dims& shape, memory::data_type number) {
  constexpr memory::format_tag kTags[] = {memory::format_tag::a, memory::format_tag::ab,
                                          memory::format_tag::abc, memory::format_tag::abcd};
  return {shape, number, kTags[shape.size() - 1]};
}

/// A contiguous tensor of floats as oneDNN's memory, not copied.
memory view_of(const torch::Tensor& tensor, const dnnl::engine& engine) {
  return {plain(tensor.sizes().vec(), kFloat), engine, tensor.data_ptr<float>()};
}

void copy(memory from, memory to, const dnnl::stream& stream) {
  dnnl::reorder(from, to).execute(stream, from, to);
}

struct Layer {
  memory::dims kernel;  // out, in, k, k
  std::int64_t stride, dilation;
  bool residual, relu;
  memory weight, bias;

  memory::dims result_of(const memory::dims& input) const {
    const auto strided = [&](std::int64_t side) { return (side - 1) / stride + 1; };
    return {input[0], kernel[0], strided(input[2]), strided(input[3])};
  }

  dnnl::primitive_attr attributes(const memory::desc& input) const {
    dnnl::post_ops after;
    if (residual) after.append_binary(dnnl::algorithm::binary_add, input);
    if (relu) after.append_eltwise(1, dnnl::algorithm::eltwise_relu, 0, 0);
    dnnl::primitive_attr attributes;
    attributes.set_post_ops(after);
    return attributes;
  }

  Convolution::primitive_desc step(const memory::desc& input, const memory::desc& weights,
                                   memory::data_type result, const dnnl::engine& engine) const {
    const memory::dims from = input.dims(), to = result_of(from);
    const std::int64_t reach = dilation * (kernel[2] - 1), before = reach / 2;
    const auto after = [&](int axis) {
      return (to[axis] - 1) * stride + reach + 1 - from[axis] - before;
    };
    const memory::desc output = residual ? input : memory::desc(to, result, kAnyLayout);
    const Convolution::desc convolution(
        dnnl::prop_kind::forward_inference, dnnl::algorithm::convolution_direct, input, weights,
        plain({to[1]}, kFloat), output, {stride, stride}, {dilation - 1, dilation - 1},
        {before, before}, {after(2), after(3)});
    return {convolution, attributes(input), engine};
  }
};

/// A layer reads one part and writes the other.
using Parts = std::array<torch::Tensor, 2>;

/// Parts of runs that have ended, for the next ones: the pages of fresh ones cost time.
class SpareParts {
 public:
  Parts take(const std::array<std::size_t, 2>& bytes) {
    Parts parts;
    {
      const std::lock_guard lock(mutex_);
      if (!spare_.empty()) {
        parts = std::move(spare_.back());
        spare_.pop_back();
      }
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (parts[i].defined() && parts[i].nbytes() >= bytes[i]) continue;
      parts[i] = torch::empty({static_cast<std::int64_t>(bytes[i])}, torch::kByte);
    }
    return parts;
  }

  void give(Parts parts) {
    const std::lock_guard lock(mutex_);
    spare_.push_back(std::move(parts));
  }

 private:
  std::mutex mutex_;
  std::vector<Parts> spare_;
};

}  // namespace

bool computes_bfloat16() {
#if defined(__x86_64__) && defined(__GNUC__)
  return __builtin_cpu_supports("avx512bf16") && __builtin_cpu_supports("avx512vl");
#else
  return false;
#endif
}

struct FusedConvolutions::Chain {
  dnnl::engine engine{dnnl::engine::kind::cpu, 0};
  memory::data_type number;
  std::vector<Layer> layers;
  mutable SpareParts spare;

  memory::desc input_of(const memory::dims& shape) const { return plain(shape, number); }

  /// How every layer is computed for an input of that shape. The result is of floats where the last
  /// layer may choose.
  std::vector<Convolution::primitive_desc> plan(const memory::dims& input) const {
    std::vector<Convolution::primitive_desc> steps;
    memory::desc planes = input_of(input);
    for (const Layer& layer : layers) {
      const memory::desc weights =
          layer.weight ? layer.weight.get_desc() : memory::desc(layer.kernel, number, kAnyLayout);
      steps.push_back(
          layer.step(planes, weights, &layer == &layers.back() ? kFloat : number, engine));
      planes = steps.back().dst_desc();
    }
    return steps;
  }

  void lay_out(const std::vector<FusedLayer>& from) {
    const auto steps = plan({1, layers.front().kernel[1], kUsualSide, kUsualSide});
    const dnnl::stream stream(engine);
    const auto lay = [&](const torch::Tensor& values, const memory::desc& layout) {
      const torch::Tensor plain_values = values.detach().contiguous();
      memory laid(layout, engine);
      copy(view_of(plain_values, engine), laid, stream);
      return laid;
    };
    for (std::size_t i = 0; i < layers.size(); ++i) {
      layers[i].weight = lay(from[i].weight, steps[i].weights_desc());
      layers[i].bias = lay(from[i].bias, steps[i].bias_desc());
    }
  }
};

FusedConvolutions::FusedConvolutions(const std::vector<FusedLayer>& layers,
                                     torch::ScalarType number) {
  auto chain = std::make_unique<Chain>();
  chain->number = number == torch::kBFloat16 ? memory::data_type::bf16 : kFloat;
  for (const FusedLayer& layer : layers) {
    chain->layers.push_back({layer.weight.sizes().vec(),
                             layer.stride,
                             layer.dilation,
                             layer.residual,
                             layer.relu,
                             {},
                             {}});
  }
  chain->lay_out(layers);
  chain_ = std::move(chain);
}

FusedConvolutions::~FusedConvolutions() = default;

torch::Tensor FusedConvolutions::operator()(const torch::Tensor& input) const {
  const dnnl::engine& engine = chain_->engine;
  const dnnl::stream stream(engine);
  const auto steps = chain_->plan(input.sizes().vec());
  const memory::desc first = chain_->input_of(input.sizes().vec());
  std::array<std::size_t, 2> bytes{0, first.get_size()};
  for (std::size_t i = 0; i < steps.size(); ++i) {
    bytes[i % 2] = std::max(bytes[i % 2], steps[i].dst_desc().get_size());
  }

  Parts parts = chain_->spare.take(bytes);
  memory planes(first, engine, parts[1].data_ptr());
  copy(view_of(input, engine), planes, stream);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Layer& layer = chain_->layers[i];
    const memory result(steps[i].dst_desc(), engine, parts[i % 2].data_ptr());
    Convolution(steps[i]).execute(stream,
                                  {{DNNL_ARG_SRC, planes},
                                   {DNNL_ARG_WEIGHTS, layer.weight},
                                   {DNNL_ARG_BIAS, layer.bias},
                                   {DNNL_ARG_DST, result},
                                   {DNNL_ARG_ATTR_MULTIPLE_POST_OP(0) | DNNL_ARG_SRC_1, planes}});
    planes = result;
  }
  torch::Tensor answer = torch::empty(planes.get_desc().dims());
  copy(planes, view_of(answer, engine), stream);
  chain_->spare.give(std::move(parts));
  return answer;
}

}  // namespace telvar::core
