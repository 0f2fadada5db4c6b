#include "classifier/network.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "classifier/augmentation.h"
#include "core/library_threads.h"
#include "core/weights.h"

namespace telvar::classifier {
namespace {

// The blocks work on about this many places a side before the mean.
constexpr double kFinalSide = 7;
constexpr int kFeatures = 64;
constexpr int kBatch = 64;
// Below this the tensor library leaves its fast convolutions for an installed BLAS.
constexpr int kSmallestBatch = 2;

/// How often the sides are halved: at least by the two residual blocks.
int halvings(const Canvas& canvas) {
  const double longest = std::max(canvas.width, canvas.height);
  return std::max(2, static_cast<int>(std::lround(std::log2(longest / kFinalSide))));
}

}  // namespace

NetworkImpl::NetworkImpl(const Canvas& canvas, int categories) {
  const int early = halvings(canvas) - 2;
  core::ConvolutionShape stem{canvas.channels, 16, early > 0 ? 5 : 3, early > 0 ? 2 : 1};
  body_->push_back(core::ConvolutionBlock(stem));
  for (int i = 1; i < early; ++i) {
    body_->push_back(core::ConvolutionBlock(core::ConvolutionShape{16, 16, 3, 2}));
  }
  body_->push_back(core::ResidualBlock(16, 32, 2));
  body_->push_back(core::ResidualBlock(32, kFeatures, 2));
  register_module("body", body_);
  head_ = register_module("head", torch::nn::Conv2d(core::pointwise(kFeatures, categories)));
}

torch::Tensor NetworkImpl::features(const torch::Tensor& input) {
  const torch::Tensor planes =
      is_training() ? core::plain(body_->forward(core::blocked(input))) : body_->forward(input);
  return planes.mean({2, 3}, true);
}

torch::Tensor NetworkImpl::forward(const torch::Tensor& input) {
  return head_(features(input)).flatten(1);
}

void NetworkImpl::classify(const float* features, float* logits) const {
  const float* weight = head_->weight.data_ptr<float>();
  const float* bias = head_->bias.data_ptr<float>();
  for (std::int64_t c = 0; c < head_->bias.size(0); ++c, weight += kFeatures) {
    logits[c] = std::inner_product(weight, weight + kFeatures, features, bias[c]);
  }
}

Matrix logits_of(NetworkImpl& net, const Canvas& canvas, const std::vector<const Sample*>& samples,
                 int categories, core::WorkerPool& pool) {
  Matrix logits(static_cast<int>(samples.size()), categories);
  const int count = logits.rows();
  pool.run((count + kBatch - 1) / kBatch, [&](int block) {
    const torch::InferenceMode inference;
    const int first = block * kBatch, last = std::min(count, first + kBatch);
    torch::Tensor input = torch::zeros(
        {std::max(kSmallestBatch, last - first), canvas.channels, canvas.height, canvas.width});
    for (int i = first; i < last; ++i) {
      normalise(*samples[i], canvas, input.data_ptr<float>() + canvas.sample_size() * (i - first));
    }
    const torch::Tensor features = net.features(input).contiguous();
    for (int i = first; i < last; ++i) {
      net.classify(features.data_ptr<float>() + std::size_t(i - first) * kFeatures, logits.row(i));
    }
  });
  return logits;
}

void widen(NetworkImpl& from, NetworkImpl& to, const std::vector<int>& places) {
  const torch::NoGradGuard no_grad;
  const auto source = core::state_of(from);
  for (auto& [name, tensor] : core::state_of(to)) {
    torch::Tensor target = tensor;
    if (name.rfind("head.", 0) != 0) {
      target.copy_(source.at(name));
      continue;
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
      target[places[i]].copy_(source.at(name)[static_cast<std::int64_t>(i)]);
    }
  }
}

}  // namespace telvar::classifier
