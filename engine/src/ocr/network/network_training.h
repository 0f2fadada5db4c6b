#pragma once

// Teaches the network.

#include <cstdint>
#include <vector>

#include "core/training_pool.h"
#include "nn/network.h"
#include "ocr/samples/preparation.h"

namespace telvar::ocr {

/// How long and how hard one stage learns.
struct NetworkPlan {
  int steps = 0;
  double peak_rate = 4e-3;
  double warm_up = 0.05;       // share of the steps
  double final_rate = 0.01;    // share of peak_rate at the end
  float uncertain_weight = 1;  // of background that is not certain (ocr/network/loss.h)
  int crops_per_step = 2;      // many steps of few crops learn most in a given time
  float inverted = 0.4f;       // share of crops whose light and dark are exchanged
  std::uint64_t seed = 0;
};

/// Trains the network on the labels of `samples`, of which at least one has a label. The same for
/// any number of threads.
void train_network(nn::Network& net, const std::vector<const PreparedSample*>& samples,
                   const NetworkPlan& plan, core::TrainingPool& pool);

}  // namespace telvar::ocr
