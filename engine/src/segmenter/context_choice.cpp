#include "segmenter/context_choice.h"

#include <algorithm>
#include <utility>

#include "segmenter/network/network.h"

namespace telvar::segmenter {
namespace {

/// A network that reaches this score without context is not given one.
constexpr double kNeedsNoContext = 0.95;

/// After a trial, the context is kept if it sets right this share of what is missed without it.
constexpr double kClearGain = 0.25;

/// A context whose own mean intersection over union is below this tells nothing.
constexpr double kLeastKnown = 0.3;
/// What the context's own score is granted, since it is measured at the coarseness of an overview
/// and of networks that learned from half of the samples.
constexpr double kHandicap = 0.05;
/// A trial is worth its time if leaving each category to whichever of the two knows it better would
/// raise the mean by this.
constexpr double kLeastHope = 0.03;

/// No trial is needed if leaving each category to whichever knows it better would set right this
/// share of what the fine network misses, without the handicap granted above.
constexpr double kPlainGain = 0.5;

/// Overviews must be able to show some category this well, as intersection over union of its labels
/// at their scale with its labels.
constexpr double kLeastShown = 0.8;

constexpr std::uint64_t kContextSeed = kSeed + 100;

/// What categories would gain on the mean if each were left to whichever knows it better.
double gain_of_better(const std::vector<Overlap>& context, const std::vector<Overlap>& fine,
                      double handicap) {
  double gain = 0;
  int judged = 0;
  for (std::size_t c = 0; c < fine.size(); ++c) {
    if (fine[c].labelled == 0 || context[c].labelled == 0) continue;
    gain += std::max(0.0, mean_iou({context[c]}) + handicap - mean_iou({fine[c]}));
    ++judged;
  }
  return judged > 0 ? gain / judged : 0;
}

/// Whether the context, on its own, knows some categories so much better than the fine network does
/// that both together may.
bool is_promising(const std::vector<Overlap>& context, const std::vector<Overlap>& fine) {
  return mean_iou(context) >= kLeastKnown && gain_of_better(context, fine, kHandicap) >= kLeastHope;
}

/// Whether it is plain already that both together know more.
bool is_plain(const std::vector<Overlap>& context, const std::vector<Overlap>& fine) {
  return gain_of_better(context, fine, 0) >= kPlainGain * (1 - mean_iou(fine));
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

/// A context from nothing, and what it knows of what it has not learned from.
struct InitialContext {
  ContextModel model;
  std::vector<Overlap> known;
};

/// Trains the context's networks one by one; returns no networks as soon as one of them leaves no
/// hope beside what the fine network finds.
InitialContext initial_context(const TrainingTask& task, const std::vector<Overlap>& fine) {
  const TrainingSet& set = task.set;
  assign_taught_folds(task, kContextFolds);
  ContextModel context;
  std::vector<Overlap> known;
  for (int i = 0; i < kContextFolds; ++i) {
    context.nets.push_back(
        make_initial_net(set.input().planes() + kPositionPlanes, set.count(), kContextSeed + i));
    teach_network(task, i, context);
    known = choose_positions(set.context, context, task.pool);
    if (!is_promising(known, fine)) return {};
  }
  return {std::move(context), std::move(known)};
}

/// Trains one round; returns the score after it.
double run_round(const TrainingTask& task, Networks& networks) {
  teach_round(task, kRoundOfChoice, task.set.taught, networks);
  return mean_iou(measure(task, task.set.judging, networks));
}

/// The networks with `context` added to them: the fine one with planes for it, and the maps.
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

void join_context(const TrainingTask& task, ContextModel& model) {
  teach_further(task, task.effort.context_joining_steps, kContextSeed + 2000,
                WhichOverviews::kOfFolds, model);
}

void finish_context(const TrainingTask& task, ContextModel& model) {
  teach_further(task, task.effort.context_finish_steps, kContextSeed + 1000, WhichOverviews::kAll,
                model);
}

double run_round_with_choice(const TrainingTask& task, Networks& networks) {
  const std::vector<Overlap> fine = measure(task, task.set.judging, networks);
  InitialContext context = initial_context(task, fine);
  if (context.model.empty()) return run_round(task, networks);
  Networks told = with_context(task, networks, std::move(context.model));
  if (is_plain(context.known, fine)) {
    networks = std::move(told);
    return run_round(task, networks);
  }
  const double without = run_round(task, networks);
  const double with = run_round(task, told);
  if (with < without + kClearGain * (1 - without)) return without;
  networks = std::move(told);
  return with;
}

}  // namespace telvar::segmenter
