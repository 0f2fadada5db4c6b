#pragma once

// The classifier's network: a few strided convolutions, residual blocks, a mean over all places.

#include <torch/torch.h>

#include <memory>
#include <vector>

#include "classifier/canvas.h"
#include "classifier/dense.h"
#include "core/net.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

class NetworkImpl : public torch::nn::Module {
 public:
  NetworkImpl(const Canvas& canvas, int categories);
  /// N x channels x height x width, normalised; returns N x categories logits.
  torch::Tensor forward(const torch::Tensor& input);
  /// What the last layer sees: N x features.
  torch::Tensor features(const torch::Tensor& input);
  /// The last layer for one row of features, without the tensor library.
  void classify(const float* features, float* logits) const;

 private:
  torch::nn::Sequential body_;
  torch::nn::Conv2d head_{nullptr};
};
TORCH_MODULE(Network);

/// Logits of samples, samples x categories; `net` is in evaluation mode.
Matrix logits_of(NetworkImpl& net, const Canvas& canvas, const std::vector<const Sample*>& samples,
                 int categories, core::WorkerPool& pool);

/// Copies a trained network into one with more categories; `places` gives the new index of every
/// old category. The heads of the others stay as initialised.
void widen(NetworkImpl& from, NetworkImpl& to, const std::vector<int>& places);

}  // namespace telvar::classifier
