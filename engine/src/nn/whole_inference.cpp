#include "nn/whole_inference.h"

#include <algorithm>
#include <utility>

#include "nn/passes.h"

namespace telvar::nn {
namespace {

/// Kernels are kept for so many input sizes.
constexpr std::size_t kKeptSizes = 8;

}  // namespace

MemoryPlan::MemoryPlan(const FoldedNetwork& network, const std::vector<TensorShape>& shapes)
    : offsets_(network.answer() + 1), ends_(network.answer() + 1) {
  std::vector<Node> last_use(network.answer() + 1);
  for (Node i = 0; i <= network.answer(); ++i) {
    last_use[i] = i;
    for (const Node used : {network.layers()[i].from, network.layers()[i].beside}) {
      if (used != kNone) last_use[used] = i;
    }
  }
  for (Node i = 0; i < network.answer(); ++i) {
    place(i, aligned(shapes[i].count() * size_of(network.number())), last_use);
  }
}

/// The lowest place that is free while the node lives.
void MemoryPlan::place(Node node, std::size_t size, const std::vector<Node>& last_use) {
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

WholeInference::WholeInference(const FoldedNetwork& network)
    : network_(network), sizes_(kKeptSizes) {}

Answer WholeInference::operator()(const float* input, const InputSize& size) {
  const auto ready = sizes_.get(size, [&](const InputSize& one) { return prepare(one); });
  Buffer memory = spare_.take(ready->plan.bytes() + ready->scratch_bytes);
  const TensorShape& shape = ready->shapes[network_.answer()];
  // The kernels want aligned memory, and write answers that the caller keeps in a vector.
  Answer answer{shape, std::vector<float>(shape.count())};
  passes_over(network_.number())
      .from_floats(input, ready->shapes[0].count(), memory.data() + ready->plan.offset(0));
  for (Node i = 1; i <= network_.answer(); ++i) run_layer(*ready, i, memory, answer);
  spare_.give(std::move(memory));
  return answer;
}

WholeInference::Sized WholeInference::prepare(const InputSize& size) const {
  auto shapes = shapes_of(network_.network(), size);
  MemoryPlan plan(network_, shapes);
  Sized made{std::move(shapes), std::vector<PackedConvolution>(network_.answer() + 1),
             std::move(plan), 0};
  for (Node i = 0; i <= network_.answer(); ++i) {
    if (!network_.has_weights(i)) continue;
    const Layer& layer = network_.layers()[i];
    made.convolutions[i] =
        network_.make_convolution(i, geometry_of(layer, made.shapes[layer.from]));
    made.scratch_bytes = std::max(made.scratch_bytes, made.convolutions[i].kernel->scratch_bytes());
  }
  return made;
}

void WholeInference::run_layer(const Sized& ready, Node node, const Buffer& memory,
                               Answer& answer) const {
  const Layer& layer = network_.layers()[node];
  const auto at = [&](Node one) {
    return one == kNone ? nullptr : memory.data() + ready.plan.offset(one);
  };
  const bool last = node == network_.answer();
  void* out = last ? static_cast<void*>(answer.values.data()) : at(node);
  if (layer.kind == LayerKind::kJoin) {
    passes_over(network_.number())
        .join(at(layer.from), at(layer.beside),
              join_extent(ready.shapes[layer.from], ready.shapes[layer.beside]), out);
  } else if (layer.kind == LayerKind::kMean) {
    run_mean(ready, node, at(layer.from), last ? nullptr : out, answer);
  } else {
    const PackedConvolution& convolution = ready.convolutions[node];
    convolution.kernel->forward(at(layer.from), convolution.weights.data(), network_.bias(node),
                                at(layer.beside), out, memory.data() + ready.plan.bytes());
  }
}

/// Into `out`, or the answer where that is null.
void WholeInference::run_mean(const Sized& ready, Node node, const void* values, void* out,
                              Answer& answer) const {
  const Passes& passes = passes_over(network_.number());
  const TensorShape& from = ready.shapes[network_.layers()[node].from];
  std::vector<float> means(ready.shapes[node].count());
  passes.mean_places(values, from.images,
                     {static_cast<std::size_t>(from.height) * from.width, from.channels},
                     means.data());
  if (out == nullptr) {
    answer.values = std::move(means);
  } else {
    passes.from_floats(means.data(), means.size(), out);
  }
}

}  // namespace telvar::nn
