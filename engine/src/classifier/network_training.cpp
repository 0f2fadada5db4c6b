#include "classifier/network_training.h"

#include <algorithm>
#include <cmath>

#include "classifier/augmentation.h"
#include "classifier/limits.h"
#include "core/training.h"

namespace telvar::classifier {
namespace {

/// How sets of one size are learned.
struct Regime {
  int chunk_size;
  double peak_rate;
  float strength;  // of the augmentation
};

constexpr Regime kSmallSets{16, 4e-3, 1.0f};
// Large sets show most variations themselves, and each sample is seen a few times only.
constexpr Regime kLargeSets{32, 8e-3, 0.25f};

constexpr int kChunks = 2;
constexpr double kSmoothing = 0.05;
constexpr double kGoingOnShare = 0.1;  // of the steps from nothing
constexpr double kGoingOnRate = 0.4;   // of the rate from nothing

/// How many samples a training from nothing draws, of so many. Half as many are enough for clothes;
/// parts, documents, icons and letters of many fonts lose points by it.
double draws_for(double members) {
  if (members <= kLargeSet) return 16000 * std::pow(members / 100, 0.35);
  return 150000 * std::pow(members / kLargeSet, 0.29);
}

core::TrainingPlan plan_for(const NetworkTask& task, const Regime& regime) {
  core::TrainingPlan plan;
  plan.chunks = kChunks;
  plan.seed = task.seed;
  double draws = draws_for(static_cast<double>(std::max<std::size_t>(task.members.size(), 20))) *
                 task.effort / kNormalEffort;
  if (task.goes_on) draws *= kGoingOnShare;
  plan.steps = std::max(10, static_cast<int>(draws / (kChunks * regime.chunk_size)));
  plan.peak_rate = task.goes_on ? regime.peak_rate * kGoingOnRate : regime.peak_rate;
  plan.weight_decay = 0.05;
  plan.average_decay = 0.98;
  return plan;
}

/// The most samples of one category that a round takes when a training goes on: old categories are
/// there with the few samples that were kept, and must not drown among the new.
std::size_t category_limit(const NetworkTask& task) {
  if (!task.goes_on) return task.members.size();
  std::vector<std::size_t> counts(task.categories);
  for (const int i : task.members) ++counts[(*task.labels)[i]];
  std::nth_element(counts.begin(), counts.begin() + counts.size() / 2, counts.end());
  return std::max<std::size_t>(1, 2 * counts[counts.size() / 2]);
}

/// The samples in the order they are drawn: one shuffled round after the other.
std::vector<int> drawing_order(const NetworkTask& task, std::size_t count) {
  const std::size_t limit = category_limit(task);
  std::vector<int> order;
  core::Random random({task.seed, 0x6F72646572u});
  while (order.size() < count) {
    std::vector<int> round = task.members;
    random.shuffle(round);
    std::vector<std::size_t> taken(task.categories);
    for (const int i : round) {
      if (taken[(*task.labels)[i]]++ < limit) order.push_back(i);
    }
  }
  return order;
}

torch::Tensor smoothed_loss(const torch::Tensor& logits, const torch::Tensor& labels) {
  return torch::nn::functional::cross_entropy(
      logits, labels, torch::nn::functional::CrossEntropyFuncOptions().label_smoothing(kSmoothing));
}

}  // namespace

void train_network(const std::shared_ptr<NetworkImpl>& net, const NetworkTask& task,
                   core::WorkerPool& pool) {
  const Regime& regime = task.members.size() > kLargeSet ? kLargeSets : kSmallSets;
  const int chunk_size = regime.chunk_size;
  const core::TrainingPlan plan = plan_for(task, regime);
  const std::vector<int> order =
      drawing_order(task, static_cast<std::size_t>(plan.steps) * kChunks * chunk_size);
  const auto chunk_loss = [&](NetworkImpl& replica, int step, int chunk, core::Random& random) {
    torch::Tensor input =
        torch::empty({chunk_size, task.canvas.channels, task.canvas.height, task.canvas.width});
    torch::Tensor labels = torch::empty({chunk_size}, torch::kLong);
    const std::size_t first = (static_cast<std::size_t>(step) * kChunks + chunk) * chunk_size;
    for (int i = 0; i < chunk_size; ++i) {
      const int index = order[first + i];
      augment((*task.samples)[index], task.canvas, task.symmetry, regime.strength, random,
              input.data_ptr<float>() + task.canvas.sample_size() * i);
      labels.data_ptr<std::int64_t>()[i] = (*task.labels)[index];
    }
    return smoothed_loss(replica.forward(input), labels);
  };
  core::train<NetworkImpl>(
      net, [&] { return std::make_shared<NetworkImpl>(task.canvas, task.categories); }, chunk_loss,
      plan, pool);
}

}  // namespace telvar::classifier
