#include "segmenter/training.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "segmenter/calibration.h"
#include "segmenter/context_choice.h"
#include "segmenter/fine_training.h"
#include "segmenter/rotation.h"
#include "segmenter/samples/exemplars.h"

namespace telvar::segmenter {
namespace {

/// The judging tiles of held-out samples, without those that teach as well.
Tiles unseen_of(const TrainingSet& set) {
  Tiles unseen;
  std::copy_if(set.judging.begin(), set.judging.end(), std::back_inserter(unseen),
               [&](const TrainingTile* tile) { return set.held_out[tile->origin.overview]; });
  return unseen;
}

class Training {
 public:
  Training(const SegmenterState* base, TrainingSet& set, core::TrainingPool& pool)
      : fine_tunes_(base != nullptr),
        brings_nothing_new_(base != nullptr && base->categories == set.categories),
        task_{set,
              fine_tunes_ ? effort_of_fine_tuning()
                          : effort_from_nothing(set.samples.size(), set.input().colour),
              pool},
        networks_(fine_tunes_ ? grown_networks(*base, set) : initial_networks(set)),
        rotation_(choose_rotation(set.samples, set.held_out, set.count())) {}

  TrainedModel run() {
    const nn::Network start = networks_.fine;
    const int rounds = run_rounds();
    // A context comes late, so that its use is still being learned; and what is held out of few
    // images says little of others.
    const bool is_learned = last_score_ >= kGoodScore && networks_.context.empty();
    if (is_learned && !task_.set.few) task_.effort = shortened(task_.effort);
    monitor().expect(steps_after(rounds));
    settle(task_, task_.set.taught, networks_);
    std::vector<Overlap> overlaps = measure(task_, task_.set.judging, networks_);
    judge_by_rotation(task_, rotation_, start, networks_, rounds, overlaps);
    TrainedModel trained;
    trained.score = mean_iou(overlaps);
    monitor().measured(trained.score);
    monitor().expect(task_.effort.finish_steps + context_finish_steps());
    join_context(task_, networks_.context);
    const auto fits =
        measure_logits(Predictor(networks_.fine, task_.set.input()), unseen_of(task_.set),
                       map_overviews(task_.set.context, networks_.context, task_.pool), task_.pool);
    finish(task_, networks_);
    finish_context(task_, networks_.context);
    adjust_logits(fits, networks_.fine);
    trained.state = delivered_state();
    return trained;
  }

 private:
  core::Monitor& monitor() const { return task_.pool.monitor(); }

  double judge() const { return mean_iou(measure(task_, task_.set.judging, networks_)); }

  void map_context() {
    networks_.maps = map_overviews(task_.set.context, networks_.context, task_.pool);
  }

  int context_finish_steps() const {
    return static_cast<int>(networks_.context.nets.size()) *
           (task_.effort.context_joining_steps + task_.effort.context_finish_steps);
  }

  /// The steps that follow so many rounds.
  int steps_after(int rounds) const {
    return task_.effort.settling_steps + task_.effort.finish_steps + context_finish_steps() +
           rotation_steps(rotation_, task_.effort, rounds);
  }

  /// The steps that are to come when a round begins; of rounds beyond the usual ones, none is
  /// expected before it begins.
  int steps_from(int round) const {
    const Effort& effort = task_.effort;
    const bool may_choose = !fine_tunes_ && !task_.set.few && round <= kRoundOfChoice;
    const int choice = kContextFolds * effort.context_steps;
    const int rounds = std::max(effort.rounds, round + 1);
    return (rounds - round) * effort.round_steps + (may_choose ? choice : 0) + steps_after(rounds);
  }

  /// The score that the artifact reaches already; 0 if it cannot know all categories.
  double score_before() {
    if (!brings_nothing_new_) return 0;
    map_context();
    const double score = judge();
    if (score >= kGoodScore) task_.effort = effort_of_touching_up();
    return score;
  }

  void refresh_context() {
    if (networks_.context.empty() || task_.effort.context_steps == 0) return;
    monitor().expect(steps_from(0) + kContextFolds * task_.effort.context_steps);
    teach_context(task_, networks_.context);
    map_context();
  }

  /// Returns how many rounds it took.
  int run_rounds() {
    double& score = last_score_;
    score = score_before();
    refresh_context();
    Progress progress(task_.effort, score);
    for (int round = 0; round < task_.effort.max_rounds; ++round) {
      monitor().expect(steps_from(round));
      if (round == kRoundOfChoice && may_choose_context(score)) choose_context(task_, networks_);
      score = run_round(round);
      monitor().measured(score);
      const bool is_over = progress.is_over(score);
      if (is_over && (round >= kRoundOfChoice || !may_choose_context(score))) return round + 1;
    }
    return task_.effort.max_rounds;
  }

  bool may_choose_context(double score) const {
    return !fine_tunes_ && may_have_context(task_.set, score);
  }

  /// Trains one round; returns the score after it.
  double run_round(int round) {
    teach_round(task_, round, task_.set.taught, networks_);
    return judge();
  }

  SegmenterState delivered_state() const {
    const TrainingSet& set = task_.set;
    Tiles remembered = set.all;
    for (const TrainingTile& tile : set.rehearsed) remembered.push_back(&tile);
    SegmenterState state{set.categories,
                         set.input(),
                         networks_.fine,
                         networks_.context,
                         choose_exemplars(remembered, set.count()),
                         {}};
    keep_overviews(state);
    return state;
  }

  /// Gives the state the overviews of its exemplars, which then name them by their new places;
  /// without a context, the state has none.
  void keep_overviews(SegmenterState& state) const {
    const std::vector<Overview>& overviews = task_.set.context.overviews;
    std::vector<int> places(overviews.size(), -1);
    for (TrainingTile& tile : state.exemplars) {
      int& index = tile.origin.overview;
      if (state.context.empty()) index = -1;
      if (index < 0) continue;
      if (places[index] < 0) {
        places[index] = static_cast<int>(state.overviews.size());
        state.overviews.push_back(overviews[index]);
      }
      index = places[index];
    }
  }

  bool fine_tunes_;
  bool brings_nothing_new_;  // no category that the artifact does not know
  TrainingTask task_;
  double last_score_ = 0;  // on what is held out
  Networks networks_;
  Rotation rotation_;
};

}  // namespace

TrainedModel train_model(const SegmenterState* base, const std::vector<std::string>& categories,
                         std::vector<PreparedSample> samples, core::TrainingPool& pool) {
  TrainingSet set = join_samples(base, categories, std::move(samples));
  return Training(base, set, pool).run();
}

}  // namespace telvar::segmenter
