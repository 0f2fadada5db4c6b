#include "ocr/learning.h"

#include "core/training.h"
#include "ocr/reader_loss.h"

namespace telvar::ocr {
namespace {

/// Many steps of few crops learn most in a given time; a chunk is one crop.
constexpr int kCropsPerStep = 2;

core::TrainingPlan core_plan(const LearningPlan& plan) {
  core::TrainingPlan core;
  core.steps = plan.steps;
  core.chunks = kCropsPerStep;
  core.seed = plan.seed;
  core.peak_rate = plan.peak_rate;
  core.warm_up = 0.05;
  core.weight_decay = 0.02;
  core.beta2 = 0.999;
  core.clip_norm = 5;
  core.average_decay = 0.99;
  return core;
}

/// How far the categories' shares are evened out: digits are frequent in codes, in training and
/// reading alike.
constexpr double kEvening = 0.5;

/// Logarithms of the categories' shares of the labels, to be added to what is to be evened out; the
/// mean for those without a label.
torch::Tensor log_shares(const std::vector<const PreparedSample*>& samples, int categories) {
  torch::Tensor counts = torch::zeros({categories});
  for (const PreparedSample* sample : samples) {
    for (const PreparedLabel& label : sample->labels) counts[label.category] += 1;
  }
  const torch::Tensor shares = counts / counts.sum();
  return torch::where(counts > 0, shares, torch::full_like(shares, 1.0 / categories)).log() *
         kEvening;
}

}  // namespace

void learn(ReaderNet& net, const std::vector<const PreparedSample*>& samples,
           const LearningPlan& plan, core::WorkerPool& pool) {
  const CropSource source(samples);
  const torch::Tensor shares = log_shares(samples, net->categories());
  const auto loss = [&](ReaderNetImpl& replica, int, int, core::Random& random) {
    const Crop crop = source.draw(random);
    return reader_loss(replica.forward(stacked({crop})),
                       {make_targets(crop, plan.uncertain_weight)}, shares);
  };
  const auto make_net = [&] { return ReaderNet(net->categories()).ptr(); };
  core::train<ReaderNetImpl>(net.ptr(), make_net, loss, core_plan(plan), pool);
}

}  // namespace telvar::ocr
