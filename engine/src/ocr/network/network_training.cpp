#include "ocr/network/network_training.h"

#include <algorithm>
#include <cmath>

#include "nn/training.h"
#include "ocr/network/loss.h"
#include "ocr/network/network.h"

namespace telvar::ocr {
namespace {

nn::TrainingPlan core_plan(const NetworkPlan& plan) {
  nn::TrainingPlan core;
  core.steps = plan.steps;
  core.chunks = plan.crops_per_step;  // a chunk is one crop
  core.seed = plan.seed;
  core.peak_rate = plan.peak_rate;
  core.warm_up = plan.warm_up;
  core.final_rate = plan.final_rate;
  core.weight_decay = 0.02;
  core.beta2 = 0.999;
  core.clip_norm = 5;
  core.average_decay = 0.99;
  return core;
}

/// How far logit adjustment evens out the categories' shares, 0 to 1. Half: digits are frequent in
/// codes, in training and reading alike, so that their shares are partly a truth.
constexpr float kLogitAdjustment = 0.5f;

/// Logarithms of the categories' shares of the labels, times kLogitAdjustment; the
/// mean for those without a label.
std::vector<float> log_shares(const std::vector<const PreparedSample*>& samples, int categories) {
  std::vector<float> shares(static_cast<std::size_t>(categories));
  float sum = 0;
  for (const PreparedSample* sample : samples) {
    for (const PreparedLabel& label : sample->labels) {
      ++shares[static_cast<std::size_t>(label.category)];
      ++sum;
    }
  }
  for (float& share : shares) {
    const float taken = share > 0 ? share / sum : 1.0f / static_cast<float>(categories);
    share = kLogitAdjustment * std::log(taken);
  }
  return shares;
}

}  // namespace

void train_network(nn::Network& net, const std::vector<const PreparedSample*>& samples,
                   const NetworkPlan& plan, core::TrainingPool& pool) {
  const CropSource source(samples, plan.inverted);
  const std::vector<float> shares = log_shares(samples, categories_of(net));
  nn::train(
      net, {1, kCropHeight, kCropWidth},
      [&](nn::ChunkPass& pass, int, int, core::Random& random) {
        const Crop crop = source.draw(random);
        std::copy(crop.pixels.values.begin(), crop.pixels.values.end(), pass.input());
        return network_loss(pass.forward(), {make_targets(crop, plan.uncertain_weight)}, shares,
                            pass.answer_gradient());
      },
      core_plan(plan), pool);
}

}  // namespace telvar::ocr
