#include "core/training.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "core/adam.h"
#include "core/freed_memory.h"
#include "core/library_threads.h"
#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

constexpr double kPi = 3.14159265358979323846;

/// Warm-up from 0, then half a cosine down to the final share.
double rate_at(const TrainingPlan& plan, int step) {
  const double warm_steps = plan.warm_up * plan.steps;
  if (step + 1 < warm_steps) return plan.peak_rate * (step + 1) / warm_steps;
  const double rest = std::max(1.0, plan.steps - warm_steps);
  const double progress = std::clamp((step + 1 - warm_steps) / rest, 0.0, 1.0);
  const double cosine = 0.5 * (1 + std::cos(kPi * progress));
  return plan.peak_rate * (plan.final_rate + (1 - plan.final_rate) * cosine);
}

std::vector<torch::Tensor> float_buffers(const torch::nn::Module& module) {
  std::vector<torch::Tensor> buffers;
  for (const torch::Tensor& buffer : module.buffers()) {
    if (buffer.is_floating_point()) buffers.push_back(buffer.detach());
  }
  return buffers;
}

struct Replica {
  torch::nn::Module* module;
  std::vector<torch::Tensor> parameters;
  std::vector<torch::Tensor> buffers;
};

/// The moving average of parameters and buffers. Young averages forget faster, so that the start
/// does not linger.
class Average {
 public:
  Average(double decay, std::vector<torch::Tensor> sources)
      : decay_(decay), sources_(std::move(sources)) {
    for (const torch::Tensor& source : sources_) averages_.push_back(source.clone());
  }

  void update(int step) {
    const double decay = std::min(decay_, (1.0 + step) / (10.0 + step));
    for (std::size_t i = 0; i < sources_.size(); ++i) averages_[i].lerp_(sources_[i], 1 - decay);
  }

  void install() {
    for (std::size_t i = 0; i < sources_.size(); ++i) sources_[i].copy_(averages_[i]);
  }

 private:
  double decay_;
  std::vector<torch::Tensor> sources_, averages_;
};

class Trainer {
 public:
  Trainer(torch::nn::Module& master,
          const std::vector<std::shared_ptr<torch::nn::Module>>& replicas, const TrainingPlan& plan,
          WorkerPool& pool)
      : plan_(plan), pool_(pool), buffers_(float_buffers(master)), losses_(plan.chunks) {
    for (const torch::Tensor& parameter : master.parameters()) add_slot(parameter.detach());
    for (const auto& module : replicas) add_replica(*module);
  }

  double step(int number, const ModuleLoss& loss) {
    pool_.run(plan_.chunks, [&](int chunk) { run_chunk(number, chunk, loss); });
    double mean = 0;
    for (const double value : losses_) mean += value / plan_.chunks;
    if (!std::isfinite(mean)) {
      throw types::exception("training diverged: the loss of step " + std::to_string(number + 1) +
                             " is not finite");
    }
    pool_.run(groups(), [&](int group) { gather_gradients(group); });
    const float scale = clip_scale();
    const AdamStep adam{rate_at(plan_, number), plan_.weight_decay, plan_.beta1, plan_.beta2,
                        number + 1};
    pool_.run(groups(), [&](int group) {
      for (std::size_t i = group; i < slots_.size(); i += groups()) {
        adam_step(slots_[i], adam, scale);
      }
    });
    average_buffers();
    return mean;
  }

  /// A gradient of the last step may have overflowed, which no further loss shows.
  void check_finite() const {
    for (const torch::Tensor& tensor : state()) {
      if (!tensor.isfinite().all().item<bool>()) {
        throw types::exception("training diverged: a weight is not finite after the last step");
      }
    }
  }

  /// Everything that the trained network consists of.
  std::vector<torch::Tensor> state() const {
    std::vector<torch::Tensor> tensors = parameters_;
    tensors.insert(tensors.end(), buffers_.begin(), buffers_.end());
    return tensors;
  }

 private:
  void add_slot(const torch::Tensor& parameter) {
    const auto count = static_cast<std::size_t>(parameter.numel());
    parameters_.push_back(parameter);
    slots_.push_back({parameter.data_ptr<float>(), std::vector<float>(count),
                      std::vector<float>(count), std::vector<float>(count), parameter.dim() > 1});
  }

  void add_replica(torch::nn::Module& module) {
    Replica replica{&module, module.parameters(), float_buffers(module)};
    TORCH_CHECK(replica.parameters.size() == parameters_.size() &&
                    replica.buffers.size() == buffers_.size(),
                "a replica differs from its master");
    for (std::size_t i = 0; i < parameters_.size(); ++i) {
      TORCH_CHECK(replica.parameters[i].sizes() == parameters_[i].sizes(),
                  "a replica differs from its master");
      replica.parameters[i].set_data(parameters_[i]);
    }
    module.train();
    replicas_.push_back(std::move(replica));
  }

  void run_chunk(int step, int chunk, const ModuleLoss& loss) {
    Replica& replica = replicas_[chunk];
    {
      const torch::NoGradGuard no_grad;
      for (std::size_t i = 0; i < buffers_.size(); ++i) replica.buffers[i].copy_(buffers_[i]);
    }
    for (torch::Tensor& parameter : replica.parameters) parameter.mutable_grad().reset();
    Random random(
        {plan_.seed, static_cast<std::uint64_t>(step), static_cast<std::uint64_t>(chunk)});
    const torch::AutoGradMode with_gradient(true);
    const torch::Tensor value = loss(*replica.module, step, chunk, random);
    losses_[chunk] = value.item<float>();
    value.backward();
  }

  // Interleaved, since neighbouring tensors are alike in size. The split changes nothing that is
  // computed.
  int groups() const { return std::min<int>(8, static_cast<int>(slots_.size())); }

  void gather_gradients(int group) {
    const float share = 1.0f / static_cast<float>(plan_.chunks);
    for (std::size_t i = group; i < slots_.size(); i += groups()) {
      std::vector<float>& sum = slots_[i].gradient;
      std::fill(sum.begin(), sum.end(), 0.0f);
      for (Replica& replica : replicas_) {
        const torch::Tensor& gradient = replica.parameters[i].grad();
        if (!gradient.defined()) continue;
        const torch::Tensor flat = gradient.contiguous();
        const float* values = flat.data_ptr<float>();
        for (std::size_t k = 0; k < sum.size(); ++k) sum[k] += share * values[k];
      }
    }
  }

  float clip_scale() const {
    if (plan_.clip_norm <= 0) return 1;
    const double norm = gradient_norm(slots_);
    return norm > plan_.clip_norm ? static_cast<float>(plan_.clip_norm / norm) : 1.0f;
  }

  void average_buffers() {
    const torch::NoGradGuard no_grad;
    for (std::size_t i = 0; i < buffers_.size(); ++i) {
      torch::Tensor sum = replicas_[0].buffers[i].clone();
      for (std::size_t r = 1; r < replicas_.size(); ++r) sum.add_(replicas_[r].buffers[i]);
      buffers_[i].copy_(sum.div_(static_cast<double>(replicas_.size())));
    }
  }

  const TrainingPlan& plan_;
  WorkerPool& pool_;
  std::vector<torch::Tensor> parameters_, buffers_;
  std::vector<AdamSlot> slots_;
  std::vector<Replica> replicas_;
  std::vector<double> losses_;
};

}  // namespace

void train_modules(torch::nn::Module& master,
                   const std::vector<std::shared_ptr<torch::nn::Module>>& replicas,
                   const ModuleLoss& loss, const TrainingPlan& plan, WorkerPool& pool,
                   const StepObserver& observer) {
  const LibraryThreadScope scope;
  TORCH_CHECK(static_cast<int>(replicas.size()) == plan.chunks && plan.chunks > 0,
              "one replica a chunk is needed");
  keep_freed_memory();
  Trainer trainer(master, replicas, plan, pool);
  const torch::NoGradGuard no_grad;
  Average average(plan.average_decay,
                  plan.average_decay > 0 ? trainer.state() : std::vector<torch::Tensor>{});
  for (int step = 0; step < plan.steps; ++step) {
    const double value = trainer.step(step, loss);
    average.update(step);
    if (observer) observer(step, value);
  }
  average.install();
  trainer.check_finite();
  master.eval();
  for (const auto& replica : replicas) replica->eval();
}

}  // namespace telvar::core
