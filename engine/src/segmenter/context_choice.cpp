#include "segmenter/context_choice.h"

#include <algorithm>
#include <utility>

#include "segmenter/network/network.h"

namespace telvar::segmenter {
namespace {

/// A network that reaches this score without context is not given one.
constexpr double kNeedsNoContext = 0.95;

/// A context whose own mean intersection over union is below this tells nothing.
constexpr double kLeastKnown = 0.3;
/// What the context's own score is granted, since it is measured at the coarseness of an overview
/// and of networks that learned from half of the samples.
constexpr double kHandicap = 0.05;
/// A context is worth its time if leaving each category to whichever of the two knows it better
/// would raise the mean by this; the first of its networks, on its own, must show a part of it.
/// Rounds with it and without, from the same weights, do not tell: the network that is given one
/// falls behind at first and passes only later (slices 0.88 to 0.90, the mean of three draws, and
/// sections of a brain 0.72 to 0.74, by contexts that had lost such rounds).
constexpr double kLeastHope = 0.03, kLeastHopeOfOne = 0.01;

/// Overviews must be able to show some category this well, as intersection over union of its labels
/// at their scale with its labels.
constexpr double kLeastShown = 0.8;

constexpr std::uint64_t kContextSeed = kSeed + 100;

/// What categories would gain on the mean if each were left to whichever knows it better.
double gain_of_better(const std::vector<Overlap>& context, const std::vector<Overlap>& fine) {
  double gain = 0;
  int judged = 0;
  for (std::size_t c = 0; c < fine.size(); ++c) {
    if (fine[c].labelled == 0 || context[c].labelled == 0) continue;
    gain += std::max(0.0, mean_iou({context[c]}) + kHandicap - mean_iou({fine[c]}));
    ++judged;
  }
  return judged > 0 ? gain / judged : 0;
}

void assign_taught_folds(const TrainingTask& task, std::size_t folds) {
  std::vector<bool> teaches = task.set.held_out;
  teaches.flip();
  assign_folds(teaches, static_cast<int>(folds), task.set.context.overviews);
}

void teach_network(const TrainingTask& task, std::size_t fold, ContextModel& model) {
  train_context(task.set.context, {task.effort.context_steps, task.effort.context_rate},
                kContextSeed, fold, model, task.pool);
}

/// All networks, at a falling rate.
void teach_further(const TrainingTask& task, int steps, std::uint64_t seed, WhichOverviews which,
                   ContextModel& model) {
  const Effort& effort = task.effort;
  if (steps == 0) return;
  continue_context(task.set.context, {steps, effort.finish_rate * effort.context_rate}, seed, which,
                   model, task.pool);
}

/// A context from nothing. Trains its networks one by one; returns none as soon as one of them
/// leaves no hope beside what the fine network finds.
ContextModel initial_context(const TrainingTask& task, const std::vector<Overlap>& fine) {
  const TrainingSet& set = task.set;
  assign_taught_folds(task, kContextFolds);
  ContextModel context;
  for (int i = 0; i < kContextFolds; ++i) {
    context.nets.push_back(
        make_initial_net(set.input().planes() + kPositionPlanes, set.count(), kContextSeed + i));
    teach_network(task, i, context);
    if (!is_promising(choose_positions(set.context, context, task.pool), i + 1, fine)) return {};
  }
  return context;
}

/// The networks with `context` added to them: the fine one with planes for it, and the maps.
Networks with_context(const TrainingTask& task, const Networks& networks, ContextModel context) {
  Networks told{with_context_planes(networks.fine, task.set), std::move(context), {}};
  told.maps = map_overviews(task.set.context, told.context, task.pool);
  return told;
}

}  // namespace

bool is_promising(const std::vector<Overlap>& context, int nets, const std::vector<Overlap>& fine) {
  const double least_hope = nets < kContextFolds ? kLeastHopeOfOne : kLeastHope;
  return mean_iou(context) >= kLeastKnown && gain_of_better(context, fine) >= least_hope;
}

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

void join_context(const TrainingTask& task, ContextModel& model) {
  teach_further(task, task.effort.context_joining_steps, kContextSeed + 2000,
                WhichOverviews::kOfFolds, model);
}

void finish_context(const TrainingTask& task, ContextModel& model) {
  teach_further(task, task.effort.context_finish_steps, kContextSeed + 1000, WhichOverviews::kAll,
                model);
}

void choose_context(const TrainingTask& task, Networks& networks) {
  ContextModel context = initial_context(task, measure(task, task.set.judging, networks));
  if (!context.empty()) networks = with_context(task, networks, std::move(context));
}

}  // namespace telvar::segmenter
