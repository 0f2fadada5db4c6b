#include "nn/inference.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <mutex>

#include "nn/backpropagation.h"
#include "nn/buffer.h"
#include "nn/passes.h"

namespace telvar::nn {
namespace {

/// Kernels are kept for so many input sizes, the least recently used out first.
constexpr std::size_t kKeptSizes = 8;

struct FoldedWeights {
  std::vector<float> weight, bias;
};

/// A convolution's weights with its normalisation moved into them.
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

/// Where the layers' results lie in one block of memory: results whose lives do not overlap share
/// their place.
class MemoryPlan {
 public:
  MemoryPlan(const Network& network, const std::vector<TensorShape>& shapes, Node answer,
             Number number)
      : offsets_(answer + 1), ends_(answer + 1) {
    std::vector<Node> last_use(answer + 1);
    for (Node i = 0; i <= answer; ++i) {
      last_use[i] = i;
      for (const Node used : {network.layers()[i].from, network.layers()[i].beside}) {
        if (used != kNone) last_use[used] = i;
      }
    }
    for (Node i = 0; i < answer; ++i) {
      place(i, aligned(shapes[i].count() * size_of(number)), last_use);
    }
  }

  std::size_t bytes() const { return bytes_; }
  std::size_t offset(Node node) const { return offsets_[node]; }

 private:
  /// The lowest place that is free while the node lives.
  void place(Node node, std::size_t size, const std::vector<Node>& last_use) {
    std::vector<std::pair<std::size_t, std::size_t>> taken;
    for (Node other = 0; other < node; ++other) {
      if (last_use[other] >= node) taken.emplace_back(offsets_[other], ends_[other]);
    }
    std::sort(taken.begin(), taken.end());
    std::size_t begin = 0;
    for (const auto& [first, last] : taken) {
      if (begin + size <= first) break;
      begin = std::max(begin, last);
    }
    offsets_[node] = begin;
    ends_[node] = begin + size;
    bytes_ = std::max(bytes_, ends_[node]);
  }

  std::vector<std::size_t> offsets_, ends_;
  std::size_t bytes_ = 0;
};

/// Everything that is ready to run for inputs of one size.
struct SizedNetwork {
  struct Step {
    std::unique_ptr<const Convolution> convolution;
    Buffer packed;
  };
  InputSize size;
  std::vector<TensorShape> shapes;
  std::vector<Step> steps;
  MemoryPlan plan;
  std::size_t scratch_bytes = 0;
};

/// Memory of calls that have ended: the pages of fresh memory cost time.
class SpareMemory {
 public:
  Buffer take(std::size_t bytes) {
    {
      const std::lock_guard lock(mutex_);
      if (!spare_.empty()) {
        Buffer buffer = std::move(spare_.back());
        spare_.pop_back();
        if (buffer.bytes() >= bytes) return buffer;
      }
    }
    return Buffer(bytes);
  }

  void give(Buffer buffer) {
    const std::lock_guard lock(mutex_);
    spare_.push_back(std::move(buffer));
  }

 private:
  std::mutex mutex_;
  std::vector<Buffer> spare_;
};

}  // namespace

class Inference::State {
 public:
  State(const Network& network, Number number, const KernelSet& kernels, Node answer)
      : network_(network), number_(number), kernels_(kernels), answer_(answer) {
    for (Node i = 0; i <= answer; ++i) {
      const LayerKind kind = network.layers()[i].kind;
      const bool has_weights = kind == LayerKind::kConvolution || kind == LayerKind::kPointwise;
      weights_.push_back(has_weights ? folded(network, network.layers()[i]) : FoldedWeights{});
    }
    for (Parameter& parameter : network_.parameters()) parameter.values = {};
  }

  Answer run(const float* input, const InputSize& size) {
    const std::shared_ptr<const SizedNetwork> ready = network_for(size);
    Buffer memory = spare_.take(ready->plan.bytes() + ready->scratch_bytes);
    Answer answer{ready->shapes[answer_], std::vector<float>(ready->shapes[answer_].count())};
    // The kernels want aligned memory, and write answers that the caller keeps in a vector.
    passes_over(number_).from_floats(input, ready->shapes[0].count(),
                                     memory.data() + ready->plan.offset(0));
    for (Node i = 1; i <= answer_; ++i) run_layer(*ready, i, memory, answer);
    spare_.give(std::move(memory));
    return answer;
  }

 private:
  std::shared_ptr<const SizedNetwork> network_for(const InputSize& size) {
    {
      const std::lock_guard lock(mutex_);
      const auto found = std::find_if(sizes_.begin(), sizes_.end(),
                                      [&](const auto& one) { return one->size == size; });
      if (found != sizes_.end()) {
        sizes_.splice(sizes_.begin(), sizes_, found);
        return sizes_.front();
      }
    }
    std::shared_ptr<const SizedNetwork> made = make(size);
    const std::lock_guard lock(mutex_);
    sizes_.push_front(made);
    if (sizes_.size() > kKeptSizes) sizes_.pop_back();
    return made;
  }

  std::shared_ptr<const SizedNetwork> make(const InputSize& size) const {
    auto shapes = shapes_of(network_, size);
    MemoryPlan plan(network_, shapes, answer_, number_);
    auto made = std::make_shared<SizedNetwork>(SizedNetwork{
        size, std::move(shapes), std::vector<SizedNetwork::Step>(answer_ + 1), std::move(plan), 0});
    for (Node i = 0; i <= answer_; ++i) {
      if (weights_[i].weight.empty()) continue;
      const Layer& layer = network_.layers()[i];
      SizedNetwork::Step& step = made->steps[i];
      step.convolution = kernels_.make_convolution(geometry_of(layer, made->shapes[layer.from]),
                                                   number_, epilogue_of(i), KernelUse::kInference);
      step.packed = Buffer(step.convolution->packed_bytes());
      Buffer scratch(step.convolution->scratch_bytes());
      step.convolution->pack(weights_[i].weight.data(), step.packed.data(), scratch.data());
      made->scratch_bytes = std::max(made->scratch_bytes, step.convolution->scratch_bytes());
    }
    return made;
  }

  Epilogue epilogue_of(Node node) const {
    const Layer& layer = network_.layers()[node];
    Epilogue epilogue;
    epilogue.bias = true;
    epilogue.residual = layer.beside != kNone;
    epilogue.relu = layer.relu;
    epilogue.output = node == answer_ ? Number::kFloat : number_;
    return epilogue;
  }

  void run_layer(const SizedNetwork& ready, Node node, const Buffer& memory, Answer& answer) const {
    const Layer& layer = network_.layers()[node];
    const auto at = [&](Node one) {
      return one == kNone ? nullptr : memory.data() + ready.plan.offset(one);
    };
    void* out = node == answer_ ? static_cast<void*>(answer.values.data()) : at(node);
    if (layer.kind == LayerKind::kJoin) {
      passes_over(number_).join(at(layer.from), at(layer.beside),
                                join_extent(ready.shapes[layer.from], ready.shapes[layer.beside]),
                                out);
    } else if (layer.kind == LayerKind::kMean) {
      run_mean(ready, node, at(layer.from), node == answer_ ? nullptr : out, answer);
    } else {
      const SizedNetwork::Step& step = ready.steps[node];
      step.convolution->forward(at(layer.from), step.packed.data(), weights_[node].bias.data(),
                                at(layer.beside), out, memory.data() + ready.plan.bytes());
    }
  }

  /// Into `out`, or the answer where that is null.
  void run_mean(const SizedNetwork& ready, Node node, const void* values, void* out,
                Answer& answer) const {
    const TensorShape& from = ready.shapes[network_.layers()[node].from];
    std::vector<float> means(ready.shapes[node].count());
    passes_over(number_).mean_places(
        values, from.images, {static_cast<std::size_t>(from.height) * from.width, from.channels},
        means.data());
    if (out == nullptr) {
      answer.values = std::move(means);
    } else {
      passes_over(number_).from_floats(means.data(), means.size(), out);
    }
  }

  Network network_;  // its layers; the weights are folded
  Number number_;
  const KernelSet& kernels_;
  Node answer_;
  std::vector<FoldedWeights> weights_;
  std::mutex mutex_;
  std::list<std::shared_ptr<const SizedNetwork>> sizes_;  // most recently used first
  SpareMemory spare_;
};

Inference::Inference(const Network& network, Number number, const KernelSet& kernels, Node answer)
    : state_(std::make_unique<State>(
          network, number, kernels,
          answer == kNone ? static_cast<Node>(network.layers().size()) - 1 : answer)) {}

Inference::Inference(Inference&&) noexcept = default;

Inference::~Inference() = default;

Answer Inference::operator()(const float* input, const InputSize& size) const {
  return state_->run(input, size);
}

}  // namespace telvar::nn
