#include "nn/training.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "core/freed_memory.h"
#include "core/library_threads.h"
#include "nn/passes.h"
#include "telvar/exceptions.h"

namespace telvar::nn {
namespace {

constexpr double kPi = 3.14159265358979323846;
/// The share by which the running statistics move to those of each batch; 0.1 is usual.
constexpr float kStatisticsMomentum = 0.1f;

/// Warm-up from 0, then half a cosine down to the final share.
double rate_at(const TrainingPlan& plan, int step) {
  const double warm_steps = plan.warm_up * plan.steps;
  if (step + 1 < warm_steps) return plan.peak_rate * (step + 1) / warm_steps;
  const double rest = std::max(1.0, plan.steps - warm_steps);
  const double progress = std::clamp((step + 1 - warm_steps) / rest, 0.0, 1.0);
  const double cosine = 0.5 * (1 + std::cos(kPi * progress));
  return plan.peak_rate * (plan.final_rate + (1 - plan.final_rate) * cosine);
}

AdamStep adam_at(const TrainingPlan& plan, int step, float gradient_scale, bool decays) {
  const double rate = rate_at(plan, step);
  AdamStep adam;
  adam.rate = static_cast<float>(rate / (1 - std::pow(plan.beta1, step + 1)));
  adam.beta1 = static_cast<float>(plan.beta1);
  adam.beta2 = static_cast<float>(plan.beta2);
  adam.square_scale = static_cast<float>(1 / (1 - std::pow(plan.beta2, step + 1)));
  adam.keep = decays ? static_cast<float>(1 - rate * plan.weight_decay) : 1.0f;
  adam.gradient_scale = gradient_scale;
  return adam;
}

/// What the optimiser remembers of one parameter.
struct Slot {
  std::vector<float> gradient, mean, square, average;
};

class Trainer {
 public:
  Trainer(Network& network, const InputSize& size, const TrainingPlan& plan, core::WorkerPool& pool,
          const TrainingMeans& means)
      : network_(network),
        plan_(plan),
        pool_(pool),
        kernels_(network, size, means.number, means.kernels),
        slots_(network.parameters().size()),
        losses_(plan.chunks) {
    for (int i = 0; i < plan.chunks; ++i) chunks_.push_back(std::make_unique<ChunkPass>(kernels_));
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      const std::vector<float>& values = network.parameters()[i].values;
      for (auto* row : {&slots_[i].gradient, &slots_[i].mean, &slots_[i].square}) {
        row->resize(values.size());
      }
      if (plan.average_decay > 0) slots_[i].average = values;
    }
  }

  void step(int number, const ChunkLoss& loss) {
    pool_.run(static_cast<int>(network_.layers().size()), [&](int i) { kernels_.pack(i); });
    pool_.run(plan_.chunks, [&](int chunk) { run_chunk(number, chunk, loss); });
    check_losses(number);
    pool_.run(kGroups, [&](int group) { for_group(group, [&](int i) { gather(i); }); });
    const float scale = clip_scale();
    pool_.run(kGroups,
              [&](int group) { for_group(group, [&](int i) { move(i, number, scale); }); });
  }

  void finish() {
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      Parameter& parameter = network_.parameters()[i];
      if (plan_.average_decay > 0) parameter.values = std::move(slots_[i].average);
      for (const float value : parameter.values) {
        // A gradient of the last step may have overflowed, which no further loss shows.
        if (!std::isfinite(value)) {
          throw types::exception("training diverged: a weight is not finite after the last step");
        }
      }
    }
  }

 private:
  // The parameters are split into so many groups that are updated side by side: few enough that
  // each has some work, enough for the usual number of cores. Groups are interleaved, since
  // neighbours are alike in size. The split changes nothing that is computed.
  static constexpr int kGroups = 8;

  template <class Work>
  void for_group(int group, const Work& work) {
    for (std::size_t i = group; i < slots_.size(); i += kGroups) work(static_cast<int>(i));
  }

  void run_chunk(int step, int chunk, const ChunkLoss& loss) {
    core::Random random(
        {plan_.seed, static_cast<std::uint64_t>(step), static_cast<std::uint64_t>(chunk)});
    losses_[chunk] = loss(*chunks_[chunk], step, chunk, random);
    chunks_[chunk]->backward();
  }

  void check_losses(int step) const {
    for (const double loss : losses_) {
      if (std::isfinite(loss)) continue;
      throw types::exception("training diverged: the loss of step " + std::to_string(step + 1) +
                             " is not finite");
    }
  }

  /// The mean over the chunks.
  void gather(int index) {
    std::vector<float>& mean = slots_[index].gradient;
    const float share = 1.0f / static_cast<float>(plan_.chunks);
    std::fill(mean.begin(), mean.end(), 0.0f);
    for (const auto& chunk : chunks_) {
      const float* values = chunk->gradient(index);
      for (std::size_t k = 0; k < mean.size(); ++k) mean[k] += share * values[k];
    }
  }

  float clip_scale() const {
    if (plan_.clip_norm <= 0) return 1;
    double sum = 0;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      if (!network_.parameters()[i].trained) continue;
      double part = 0;
      for (const float value : slots_[i].gradient) part += static_cast<double>(value) * value;
      sum += part;
    }
    const double norm = std::sqrt(sum);
    return norm > plan_.clip_norm ? static_cast<float>(plan_.clip_norm / norm) : 1.0f;
  }

  void move(int index, int step, float gradient_scale) {
    Parameter& parameter = network_.parameters()[index];
    Slot& slot = slots_[index];
    const std::size_t count = slot.gradient.size();
    if (parameter.trained) {
      adam_step(adam_at(plan_, step, gradient_scale, parameter.decays()), slot.gradient.data(),
                count, slot.mean.data(), slot.square.data(), parameter.values.data());
    } else {
      approach(slot.gradient, kStatisticsMomentum, parameter.values);
    }
    if (plan_.average_decay > 0) {
      // Young averages forget faster, so that the start does not linger.
      const double decay = std::min(plan_.average_decay, (1.0 + step) / (10.0 + step));
      approach(parameter.values, static_cast<float>(1 - decay), slot.average);
    }
  }

  static void approach(const std::vector<float>& target, float share, std::vector<float>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) values[i] += share * (target[i] - values[i]);
  }

  Network& network_;
  const TrainingPlan& plan_;
  core::WorkerPool& pool_;
  TrainingKernels kernels_;
  std::vector<std::unique_ptr<ChunkPass>> chunks_;
  std::vector<Slot> slots_;
  std::vector<double> losses_;
};

}  // namespace

void train(Network& network, const InputSize& size, const ChunkLoss& loss, const TrainingPlan& plan,
           core::TrainingPool& pool, const TrainingMeans& means) {
  const core::LibraryThreadScope scope;
  core::keep_freed_memory();
  Trainer trainer(network, size, plan, pool, means);
  for (int step = 0; step < plan.steps; ++step) {
    trainer.step(step, loss);
    pool.monitor().step();
  }
  trainer.finish();
}

}  // namespace telvar::nn
