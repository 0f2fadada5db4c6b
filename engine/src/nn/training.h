#pragma once

// The training loop: data parallel, and the same to the last bit with any number of threads.
//
// Each step's batch is a fixed number of chunks. Every chunk runs forward and backward on its own;
// gradients are added in chunk order and divided by the number of chunks, then AdamW makes the
// step. Statistics of normalisation are averaged over the chunks.
//
//   train(net, {4, 128, 128},
//         [&](ChunkPass& pass, int step, int chunk, Random& random) {
//           const auto truth = draw(random, pass.input());        // own random numbers only
//           return loss(pass.forward(), truth, pass.answer_gradient());
//         }, plan, pool);

#include <cstdint>
#include <functional>

#include "core/random.h"
#include "core/training_pool.h"
#include "nn/backpropagation.h"

namespace telvar::nn {

struct TrainingPlan {
  int steps = 0;
  int chunks = 2;              // part of what is computed: never derive it from the machine
  std::uint64_t seed = 0;      // chunk c of step s draws from Random({seed, s, c})
  double peak_rate = 3e-3;     // reached after the warm-up
  double warm_up = 0.1;        // share of the steps, linear from 0
  double final_rate = 0.01;    // share of peak_rate at the end of the cosine
  double weight_decay = 1e-2;  // decoupled (Loshchilov and Hutter, 2019); matrices only
  double beta1 = 0.9;
  double beta2 = 0.99;
  double clip_norm = 0;      // longest gradient; 0: not clipped
  double average_decay = 0;  // of the exponential moving average of the weights; 0: none. The
                             // network ends with the average, statistics included
};

/// What is computed with, where it is not the default.
struct TrainingMeans {
  const KernelSet& kernels = default_kernels();
  Number number = kernels.fastest_number();
};

/// Fills a chunk's input, runs it forward, fills the gradient of the answer and returns the loss.
/// Called from worker threads, one call per chunk at a time; must depend on its arguments and on
/// constant data alone.
using ChunkLoss = std::function<double(ChunkPass& pass, int step, int chunk, core::Random& random)>;

/// Trains `network` in place on inputs of one size, and tells the training's monitor of every step.
/// Throws types::exception when a loss or a trained weight is not finite, and what the monitor
/// throws; the network is then of no use.
void train(Network& network, const InputSize& size, const ChunkLoss& loss, const TrainingPlan& plan,
           core::TrainingPool& pool, const TrainingMeans& means = {});

}  // namespace telvar::nn
