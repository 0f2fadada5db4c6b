#include "nn/inference.h"

#include <optional>

#include "nn/folded_network.h"
#include "nn/swept_inference.h"
#include "nn/whole_inference.h"

namespace telvar::nn {

class Inference::State {
 public:
  State(const Network& network, Number number, const KernelSet& kernels, Node answer)
      : network_(network, number, kernels, answer), whole_(network_) {
    if (SweptInference::can_run(network_)) swept_.emplace(network_);
  }

  /// Single images, of any size, are swept; batches, of few sizes and small, are computed whole.
  Answer run(const float* input, const InputSize& size) {
    return swept_ && size.images == 1 ? (*swept_)(input, size) : whole_(input, size);
  }

 private:
  FoldedNetwork network_;
  WholeInference whole_;
  std::optional<SweptInference> swept_;
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
