#include "segmenter/context_choice.h"

#include <algorithm>
#include <utility>

#include "segmenter/network.h"

namespace telvar::segmenter {
namespace {

/// A score that is reached without.
constexpr double kNeedsNoContext = 0.95;

/// The share of what is missed without context that must be right with it.
constexpr double kClearGain = 0.25;

/// The mean intersection over union below which the context tells nothing; what it misses at the
/// coarseness of an overview, and for having learned from half of the samples; and the mean gain,
/// if each category were left to what knows it best, for which it is worth the trial.
constexpr double kLeastKnown = 0.3;
constexpr double kHandicap = 0.05;
constexpr double kLeastHope = 0.03;

/// What overviews must be able to show of some category, as intersection over union.
constexpr double kLeastShown = 0.8;

constexpr std::uint64_t kContextSeed = kSeed + 100;

/// Whether the context, on its own, knows some categories so much better than the fine network does
/// that both together may.
bool is_promising(const std::vector<Overlap>& context, const std::vector<Overlap>& fine) {
  if (mean_iou(context) < kLeastKnown) return false;
  double gain = 0;
  int judged = 0;
  for (std::size_t c = 0; c < fine.size(); ++c) {
    if (fine[c].labelled == 0 || context[c].labelled == 0) continue;
    gain += std::max(0.0, mean_iou({context[c]}) + kHandicap - mean_iou({fine[c]}));
    ++judged;
  }
  return judged > 0 && gain >= kLeastHope * judged;
}

void assign_taught_folds(const TrainingTask& task, std::size_t folds) {
  std::vector<bool> teaches = task.set.held_out;
  teaches.flip();
  assign_folds(teaches, static_cast<int>(folds), task.set.context.overviews);
}

void teach_network(const TrainingTask& task, std::size_t fold, ContextModel& model) {
  train_context(task.set.context, {task.effort.context_steps, task.effort.peak_rate}, kContextSeed,
                fold, model, task.pool);
}

/// Networks for a context from nothing. None where the first of them, judged by what it has not
/// learned from, leaves no hope beside what the fine network finds.
ContextModel initial_context(const TrainingTask& task, const std::vector<Overlap>& fine) {
  const TrainingSet& set = task.set;
  assign_taught_folds(task, kContextFolds);
  ContextModel context;
  for (int i = 0; i < kContextFolds; ++i) {
    context.nets.push_back(
        make_initial_net(set.input().planes() + kPositionPlanes, set.count(), kContextSeed + i));
    teach_network(task, i, context);
    const auto known = choose_positions(set.context, context, task.pool);
    if (!is_promising(known, fine)) return {};
  }
  return context;
}

/// Returns the score after it.
double run_round(const TrainingTask& task, Networks& networks) {
  teach_round(task, kRoundOfChoice, task.set.taught, networks);
  return mean_iou(measure(task, task.set.judging, networks));
}

/// Those that `context` makes of networks without one.
Networks with_context(const TrainingTask& task, const Networks& networks, ContextModel context) {
  Networks told{with_context_planes(networks.fine, task.set), std::move(context), {}};
  told.maps = map_overviews(task.set.context, told.context, task.pool);
  return told;
}

}  // namespace

bool may_have_context(const TrainingSet& set, double score) {
  if (set.few || score >= kNeedsNoContext) return false;
  if (measure_overviews(set.context, set.all) < kLeastShown) return false;
  return std::any_of(set.all.begin(), set.all.end(), [](const TrainingTile* tile) {
    return std::max(tile->origin.place.width, tile->origin.place.height) > kSeenWithoutContext;
  });
}

void teach_context(const TrainingTask& task, ContextModel& model) {
  assign_taught_folds(task, model.nets.size());
  for (std::size_t i = 0; i < model.nets.size(); ++i) teach_network(task, i, model);
}

double run_round_with_choice(const TrainingTask& task, Networks& networks) {
  ContextModel context = initial_context(task, measure(task, task.set.judging, networks));
  if (context.empty()) return run_round(task, networks);
  Networks told = with_context(task, networks, std::move(context));
  const double without = run_round(task, networks);
  const double with = run_round(task, told);
  if (with < without + kClearGain * (1 - without)) return without;
  networks = std::move(told);
  return with;
}

}  // namespace telvar::segmenter
