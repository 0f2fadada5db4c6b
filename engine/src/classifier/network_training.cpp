#include "classifier/network_training.h"

#include <algorithm>
#include <cmath>

#include "classifier/limits.h"
#include "classifier/samples/augmentation.h"
#include "nn/training.h"

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

// A chunk for each of two threads; the result depends on their number, so it is fixed.
constexpr int kChunks = 2;
// The share of each label that goes to all categories alike: labels by hand are not always right.
constexpr double kSmoothing = 0.05;
// Fine-tuning takes this share of the steps, and of the peak rate, of a training from nothing: what
// was learned is to be moved, not replaced.
constexpr double kFineTuneShare = 0.1;
constexpr double kFineTuneRate = 0.4;

/// How many samples a training from nothing draws, of so many. Half as many are enough for clothes;
/// parts, documents, icons and letters of many fonts lose points by it.
double draws_for(double members) {
  if (members <= kLargeSet) return 16000 * std::pow(members / 100, 0.35);
  return 150000 * std::pow(members / kLargeSet, 0.29);
}

const Regime& regime_for(const NetworkTask& task) {
  return task.members.size() > kLargeSet ? kLargeSets : kSmallSets;
}

nn::TrainingPlan plan_for(const NetworkTask& task, const Regime& regime) {
  nn::TrainingPlan plan;
  plan.chunks = kChunks;
  plan.seed = task.seed;
  double draws = draws_for(static_cast<double>(std::max<std::size_t>(task.members.size(), 20))) *
                 task.effort / kNormalEffort;
  if (task.fine_tunes) draws *= kFineTuneShare;
  plan.steps = std::max(10, static_cast<int>(draws / (kChunks * regime.chunk_size)));
  plan.peak_rate = task.fine_tunes ? regime.peak_rate * kFineTuneRate : regime.peak_rate;
  plan.weight_decay = 0.05;
  plan.average_decay = 0.98;
  return plan;
}

/// The most samples of one category that a round takes when it fine-tunes: old categories are
/// there with the few samples that were kept, and must not drown among the new.
std::size_t category_limit(const NetworkTask& task) {
  if (!task.fine_tunes) return task.members.size();
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

/// Mean cross-entropy of smoothed labels over the rows of `logits`, and its gradient.
double smoothed_loss(const float* logits, const std::vector<int>& labels, int categories,
                     float* gradient) {
  const double share = 1.0 / static_cast<double>(labels.size());
  double loss = 0;
  for (const int label : labels) {
    const double highest = *std::max_element(logits, logits + categories);
    double sum = 0;
    for (int c = 0; c < categories; ++c) sum += std::exp(logits[c] - highest);
    for (int c = 0; c < categories; ++c) {
      const double log_probability = logits[c] - highest - std::log(sum);
      const double wanted = kSmoothing / categories + (c == label ? 1 - kSmoothing : 0);
      loss -= share * wanted * log_probability;
      gradient[c] = static_cast<float>(share * (std::exp(log_probability) - wanted));
    }
    logits += categories;
    gradient += categories;
  }
  return loss;
}

}  // namespace

int training_steps(const NetworkTask& task) {
  return plan_for(task, regime_for(task)).steps;
}

void train_network(nn::Network& net, const NetworkTask& task, core::TrainingPool& pool) {
  const Regime& regime = regime_for(task);
  const int chunk_size = regime.chunk_size;
  const nn::TrainingPlan plan = plan_for(task, regime);
  const std::vector<int> order =
      drawing_order(task, static_cast<std::size_t>(plan.steps) * kChunks * chunk_size);
  const auto chunk_loss = [&](nn::ChunkPass& pass, int step, int chunk, core::Random& random) {
    std::vector<int> labels;
    const std::size_t first = (static_cast<std::size_t>(step) * kChunks + chunk) * chunk_size;
    for (int i = 0; i < chunk_size; ++i) {
      const int index = order[first + i];
      augment((*task.samples)[index], task.canvas, task.symmetry, regime.strength, random,
              pass.input() + task.canvas.sample_size() * i);
      labels.push_back((*task.labels)[index]);
    }
    return smoothed_loss(pass.forward(), labels, task.categories, pass.answer_gradient());
  };
  nn::train(net, {chunk_size, task.canvas.height, task.canvas.width}, chunk_loss, plan, pool);
}

}  // namespace telvar::classifier
