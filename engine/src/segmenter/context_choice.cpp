#include "segmenter/context_choice.h"

#include <algorithm>
#include <utility>

#include "segmenter/network.h"

namespace telvar::segmenter {
namespace {

/// A score that is reached without.
constexpr double kNeedsNoContext = 0.95;

/// What the context must add to the score to stay.
constexpr double kClearNeed = 0.1;

/// The intersection over union below which context networks are not tried.
constexpr double kLeastKnown = 0.3;

/// What overviews must be able to show of some category, as intersection over union.
constexpr double kLeastShown = 0.8;

constexpr std::uint64_t kContextSeed = kSeed + 100;

/// Networks for a context from nothing; none where they know too little.
ContextModel initial_context(const TrainingTask& task) {
  const TrainingSet& set = task.set;
  ContextModel context;
  for (int i = 0; i < kContextFolds; ++i) {
    context.nets.push_back(
        make_initial_net(set.input().planes() + kPositionPlanes, set.count(), kContextSeed + i));
  }
  teach_context(task, context);
  if (choose_positions(set.context, context, task.pool) < kLeastKnown) return {};
  return context;
}

double run_round(const TrainingTask& task, Networks& networks) {
  teach_round(task, kRoundOfChoice, task.set.taught, networks);
  const double score = mean_iou(measure(task, task.set.judging, networks));
  task.pool.monitor().measured(score);
  return score;
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
  std::vector<bool> teaches = task.set.held_out;
  teaches.flip();
  ContextData& data = task.set.context;
  assign_folds(teaches, static_cast<int>(model.nets.size()), data.overviews);
  train_context(data, {task.effort.context_steps, task.effort.peak_rate}, kContextSeed, model,
                task.pool);
}

double run_round_with_choice(const TrainingTask& task, Networks& networks) {
  ContextModel context = initial_context(task);
  const nn::Network before = networks.fine;
  const double without = run_round(task, networks);
  if (context.empty()) return without;
  Networks told{with_context_planes(before, task.set), std::move(context), {}};
  told.maps = map_overviews(task.set.context, told.context, task.pool);
  const double with = run_round(task, told);
  if (with < without + kClearNeed) return without;
  networks = std::move(told);
  return with;
}

}  // namespace telvar::segmenter
