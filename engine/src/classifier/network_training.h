#pragma once

// Trains one network on some of the samples.

#include <cstdint>
#include <vector>

#include "classifier/samples/dihedral.h"
#include "classifier/samples/preparation.h"
#include "core/training_pool.h"
#include "nn/network.h"

namespace telvar::classifier {

struct NetworkTask {
  const std::vector<Sample>* samples;
  const std::vector<int>* labels;
  std::vector<int> members;  // indices of the samples to learn from, at least one
  Canvas canvas;
  Symmetry symmetry;
  int categories;
  int effort;       // 10: normal
  bool fine_tunes;  // from a trained network: fewer and smaller steps
  std::uint64_t seed;
};

/// How many steps a training of the task takes.
int training_steps(const NetworkTask& task);

/// `net` holds the initial weights, and the trained ones afterwards.
void train_network(nn::Network& net, const NetworkTask& task, core::TrainingPool& pool);

}  // namespace telvar::classifier
