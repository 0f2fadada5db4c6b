#pragma once

// The training loop: data parallel, and the same to the last bit with any number of threads.
//
// Each step's batch is a fixed number of chunks. Every chunk runs forward and backward on its own
// replica of the network; the replicas share the master's parameters. Gradients are added in chunk
// order and divided by the number of chunks, then AdamW makes the step. Batch-norm statistics of
// the replicas are averaged in chunk order.
//
//   auto net = std::make_shared<Net>(...);
//   initialise(*net, random);
//   train<Net>(net, [&] { return std::make_shared<Net>(...); },
//              [&](Net& replica, int step, int chunk, Random& random) {
//                auto batch = draw(chunk, random);              // own random numbers only
//                return loss(replica.forward(batch.inputs), batch.targets);
//              }, plan, pool);

#include <torch/torch.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/random.h"
#include "core/worker_pool.h"

namespace telvar::core {

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
                             // master ends with the average, batch-norm statistics included
};

/// The loss (a scalar with a graph) of chunk `chunk` of step `step`. Called from worker threads,
/// one call per replica at a time; must depend on its arguments and on constant data alone.
using ModuleLoss =
    std::function<torch::Tensor(torch::nn::Module& replica, int step, int chunk, Random& random)>;

/// Called on the calling thread after every step with the mean loss of its chunks; may throw to
/// stop the training.
using StepObserver = std::function<void(int step, double loss)>;

/// Trains `master` in place; `replicas` are plan.chunks further modules of the same shape. The
/// modules are left in evaluation mode. Throws types::exception when a loss or a trained weight is
/// not finite.
void train_modules(torch::nn::Module& master,
                   const std::vector<std::shared_ptr<torch::nn::Module>>& replicas,
                   const ModuleLoss& loss, const TrainingPlan& plan, WorkerPool& pool,
                   const StepObserver& observer = {});

/// train_modules for a network type of the tool's own.
template <class Net, class MakeNet, class Loss>
void train(const std::shared_ptr<Net>& master, const MakeNet& make_net, const Loss& loss,
           const TrainingPlan& plan, WorkerPool& pool, const StepObserver& observer = {}) {
  std::vector<std::shared_ptr<torch::nn::Module>> replicas;
  for (int i = 0; i < plan.chunks; ++i) replicas.push_back(make_net());
  train_modules(
      *master, replicas,
      [&loss](torch::nn::Module& replica, int step, int chunk, Random& random) {
        return loss(static_cast<Net&>(replica), step, chunk, random);
      },
      plan, pool, observer);
}

}  // namespace telvar::core
