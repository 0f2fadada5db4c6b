#pragma once

// The classifier's network: a few strided convolutions, residual blocks, a mean over all places.

#include <memory>
#include <vector>

#include "classifier/kernel/matrix.h"
#include "classifier/samples/preparation.h"
#include "core/worker_pool.h"
#include "nn/inference.h"
#include "nn/network.h"

namespace telvar::classifier {

/// The layers for a canvas, not initialised: images x height x width x channels, normalised, to one
/// logit per category.
nn::Network network_layers(const Canvas& canvas, int categories);

/// A trained network, ready to answer. Immutable; any number of threads.
class NetworkInference {
 public:
  NetworkInference(const nn::Network& net, const Canvas& canvas);

  /// Logits of samples, samples x categories.
  Matrix logits(const std::vector<const Sample*>& samples, core::WorkerPool& pool) const;

 private:
  /// The last layer for one row of features.
  void classify(const float* features, float* logits) const;

  Canvas canvas_;
  std::vector<float> head_weight_, head_bias_;
  nn::Inference features_;  // up to the mean: the last layer is too small for kernels
};

}  // namespace telvar::classifier
