#include "nn/sweep.h"

#include <algorithm>

#include "nn/shapes.h"

namespace telvar::nn {

Sweep::Sweep(const std::vector<Layer>& layers, Node answer, int rows)
    : blocks_(answer + 1), kept_(answer + 1), below_(answer + 1) {
  std::vector<int> strides(answer + 1, 1);
  for (Node i = 1; i <= answer; ++i) {
    strides[i] = strides[layers[i].from] * layers[i].stride;
    largest_stride_ = std::max(largest_stride_, strides[i]);
  }
  const int input_block = (rows + largest_stride_ - 1) / largest_stride_ * largest_stride_;
  for (Node i = 0; i <= answer; ++i) {
    blocks_[i] = input_block / strides[i];
    connect(layers, i);
  }
  find_kept();
}

void Sweep::connect(const std::vector<Layer>& layers, Node node) {
  const Layer& layer = layers[node];
  if (layer.kind == LayerKind::kInput) return;
  const ConvolutionGeometry g = geometry_of(layer, TensorShape());
  const bool joins = layer.kind == LayerKind::kJoin;
  const int below = g.reach() - g.pad_before();
  below_[layer.from] = std::max(below_[layer.from], below);
  edges_.push_back({node, layer.from, g.stride, 1, g.pad_before(), below});
  if (layer.beside != kNone) edges_.push_back({node, layer.beside, 1, joins ? 2 : 1, 0, 0});
}

/// What the block that begins at `row` reads.
RowSpan Sweep::read(const Edge& edge, int row) const {
  const int last = row + blocks_[edge.reader] - 1;
  return {row * edge.numerator / edge.denominator - edge.above,
          last * edge.numerator / edge.denominator + edge.below + 1};
}

/// Once the answer has begun, every wave is like the one before.
void Sweep::find_kept() {
  Progress progress(*this);
  const Node answer = static_cast<Node>(blocks_.size()) - 1;
  while (progress.done(answer) < 2 * blocks_[answer]) {
    for (Node i = 0; i <= answer; ++i) {
      if (!progress.ready(i)) continue;
      const int end = progress.done(i) + blocks_[i];
      kept_[i] = std::max(kept_[i], end - progress.first_needed(i));
      progress.advance(i);
    }
  }
}

bool Sweep::Progress::ready(Node node) const {
  return std::all_of(sweep_->edges_.begin(), sweep_->edges_.end(), [&](const Edge& edge) {
    return edge.reader != node || sweep_->read(edge, done_[node]).end <= done_[edge.source];
  });
}

int Sweep::Progress::first_needed(Node node) const {
  int first = done_[node];
  for (const Edge& edge : sweep_->edges_) {
    if (edge.source == node) first = std::min(first, sweep_->read(edge, done_[edge.reader]).begin);
  }
  return first;
}

}  // namespace telvar::nn
