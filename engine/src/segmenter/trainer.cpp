#include "segmenter/trainer.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>
#include <utility>

#include "segmenter/calibration.h"
#include "segmenter/chunk.h"
#include "segmenter/context_training.h"
#include "segmenter/evaluation.h"
#include "segmenter/exemplars.h"
#include "segmenter/held_out.h"
#include "segmenter/network.h"

namespace telvar::segmenter {
namespace {

constexpr std::uint64_t kSeed = 0x7365'676d;

/// How long to train: rounds without the samples held out, judged after each; then they settle at a
/// falling rate and are judged and calibrated as the network that is delivered will be; then the
/// finish on all samples.
struct Effort {
  int max_rounds;
  int round_steps;
  int settling_steps;
  int finish_steps;
  double finish_rate;  // share of the peak where it begins; of a settled network, not to shake it
  double peak_rate;
  int context_steps;  // of each context network
};
constexpr Effort kFromNothing{5, 60, 105, 120, 0.5, 3e-3, 200};

/// Of few images, one held out is much of what there is to learn from: more of the steps are made
/// with all of them.
constexpr Effort kFromFew{4, 60, 80, 300, 1.0, 3e-3, 0};
constexpr std::size_t kFew = 5;

constexpr Effort kContinued{1, 60, 20, 20, 0.5, 2e-3, 60};

/// When an artifact does well already on samples that bring nothing new.
constexpr Effort kTouchedUp{1, 20, 6, 6, 0.5, 1e-3, 0};

/// Of the crops: they show no context, so that what can be told without is.
constexpr float kWithoutContext = 0.25F;

/// The round that is made with and without context, unless the score is this good before it; and
/// what the context must add to the score to stay.
constexpr int kRoundOfChoice = 2;
constexpr double kNeedsNoContext = 0.95;
constexpr double kClearNeed = 0.1;

/// The intersection over union below which context networks are not tried. Of thin marks, an
/// overview shows nothing.
constexpr double kLeastKnown = 0.3;

/// What overviews must be able to show of some category, as intersection over union.
constexpr double kLeastShown = 0.8;

/// At most, of a network that only judges: it falls behind the one delivered by little.
constexpr int kRotatedRounds = 3;

/// Rounds end early when this is reached and a round adds less than kLeastGain; or when, beyond
/// kFairScore, two rounds running do not add kLeastProgress to the best before them. Below that,
/// faint things may yet be found.
constexpr double kGoodScore = 0.97;
constexpr double kLeastGain = 0.005;
constexpr double kFairScore = 0.6;
constexpr double kLeastProgress = 0.01;

/// Judges when rounds have brought what they can.
class Progress {
 public:
  explicit Progress(double before) : last_(before), best_(before) {}

  bool is_over(double score) {
    const bool idle = score - last_ < kLeastGain;
    rounds_without_progress_ = score < best_ + kLeastProgress ? rounds_without_progress_ + 1 : 0;
    last_ = score;
    best_ = std::max(best_, score);
    return (score >= kGoodScore && idle) || (score >= kFairScore && rounds_without_progress_ >= 2);
  }

 private:
  double last_, best_;
  int rounds_without_progress_ = 0;
};

InputSpec measure_input(const Tiles& tiles) {
  InputSpec spec;
  double sum = 0, squares = 0, count = 0;
  for (const TrainingTile* tile : tiles) {
    spec.colour = spec.colour || tile->channels == 3;
    const std::size_t area = tile->area();
    for (std::size_t i = 0; i < area; ++i) {
      const double luma = tile->channels == 1
                              ? tile->value(i)
                              : core::luma<double>(tile->value(i), tile->value(area + i),
                                                   tile->value(2 * area + i));
      sum += luma;
      squares += luma * luma;
    }
    count += static_cast<double>(area);
  }
  const double mean = sum / count;
  const double deviation = std::sqrt(std::max(0.0, squares / count - mean * mean));
  spec.mean = static_cast<float>(mean);
  spec.deviation = std::max(InputSpec::kMinDeviation, static_cast<float>(deviation));
  return spec;
}

Effort choose_effort(const ModelState* base, std::size_t samples) {
  if (base != nullptr) return kContinued;
  return samples <= kFew ? kFromFew : kFromNothing;
}

/// Where each category of `from` stands in `to`.
std::vector<int> places_of(const std::vector<std::string>& from,
                           const std::vector<std::string>& to) {
  std::vector<int> places;
  for (const std::string& name : from) {
    places.push_back(static_cast<int>(std::lower_bound(to.begin(), to.end(), name) - to.begin()));
  }
  return places;
}

/// A tile whose labels refer to the categories' new places.
TrainingTile renumbered(TrainingTile tile, const std::vector<int>& places) {
  std::uint64_t known = 0;
  for (std::size_t c = 0; c < places.size(); ++c) {
    if (tile.known >> c & 1) known |= std::uint64_t{1} << places[c];
  }
  tile.known = known;
  for (LabelPlane& plane : tile.labels) plane.category = places[plane.category];
  return tile;
}

class Trainer {
 public:
  Trainer(const ModelState* base, const std::vector<std::string>& categories,
          std::vector<PreparedSample> samples, core::WorkerPool& pool)
      : categories_(categories),
        samples_(std::move(samples)),
        effort_(choose_effort(base, samples_.size())),
        pool_(pool) {
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      for (TrainingTile& tile : samples_[i].tiles) tile.origin.overview = static_cast<int>(i);
      context_data_.overviews.push_back({std::move(samples_[i].overview), Overview::kUnseen});
    }
    context_data_.fresh = samples_.size();
    context_data_.categories = count();
    for (const PreparedSample& sample : samples_) add_tiles(sample, all_);
    start(base);
    context_data_.spec = spec_;
  }

  TrainedModel run() {
    TrainedModel trained;
    const std::vector<bool> held = choose_held_out(samples_, count());
    const Tiles judging = choose_judging(samples_, held, count());
    Tiles taught;
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      if (!held[i]) add_tiles(samples_[i], taught);
    }
    start_ = net_;
    rotation_ = choose_rotation(samples_, held, count());
    run_rounds(held, judging, taught);
    pool_.monitor().expect(steps_after(rounds_made_));
    settle(taught);
    std::vector<Overlap> overlaps = measure(judging);
    judge_rare(overlaps);
    trained.score = mean_iou(overlaps);
    pool_.monitor().measured(trained.score);
    const auto scales =
        measure_scales(Predictor(net_, spec_), unseen_of(judging, held), maps_, pool_);
    pool_.monitor().expect(effort_.finish_steps);
    run_falling(effort_.finish_steps, effort_.finish_rate, all_, kSeed + 1000);
    scale_logits(scales, net_);
    Tiles remembered = all_;
    for (const TrainingTile& tile : rehearsed_) remembered.push_back(&tile);
    trained.state = {categories_, spec_, net_, context_, choose_exemplars(remembered, count()), {}};
    keep_overviews(trained.state);
    return trained;
  }

 private:
  int count() const { return static_cast<int>(categories_.size()); }

  static void add_tiles(const PreparedSample& sample, Tiles& tiles) {
    for (const TrainingTile& tile : sample.tiles) tiles.push_back(&tile);
  }

  void start(const ModelState* base) {
    spec_ = measure_input(all_);
    from_nothing_ = base == nullptr;
    if (from_nothing_) {
      few_ = samples_.size() <= kFew;
      spec_.mirrored = few_;
      net_ = make_initial_net(spec_.planes(), count(), kSeed);
      return;
    }
    const bool colour = spec_.colour || base->input.colour;
    spec_ = base->input;  // what the weights are used to
    spec_.colour = colour;
    only_known_categories_ = base->categories == categories_;
    const std::vector<int> places = places_of(base->categories, categories_);
    grow(*base, places);
    for (const TrainingTile& tile : base->exemplars) {
      rehearsed_.push_back(renumbered(tile, places));
      int& overview = rehearsed_.back().origin.overview;
      if (overview >= 0) overview += static_cast<int>(context_data_.fresh);
    }
    for (const Overview& overview : base->overviews) {
      context_data_.overviews.push_back({renumbered(overview.tile, places), overview.fold});
    }
  }

  void settle(const Tiles& taught) {
    run_falling(effort_.settling_steps, 1.0, taught, kSeed + 1001);
  }

  /// Those that come after so many rounds.
  int steps_after(int rounds) const {
    const int rotated = static_cast<int>(rotation_.samples.size());
    return effort_.settling_steps + effort_.finish_steps +
           rotated *
               (std::min(rounds, kRotatedRounds) * effort_.round_steps + effort_.settling_steps);
  }

  /// The most steps that are to come when a round begins.
  int steps_from(int round) const {
    const bool may_choose = from_nothing_ && !few_ && round <= kRoundOfChoice;
    const int choice = kContextFolds * effort_.context_steps + effort_.round_steps;
    return (effort_.max_rounds - round) * effort_.round_steps + (may_choose ? choice : 0) +
           steps_after(effort_.max_rounds);
  }

  /// Adds what networks find of rare categories in further samples: each has learned from all
  /// samples but one.
  void judge_rare(std::vector<Overlap>& overlaps) {
    const nn::Network delivered = net_;
    for (const std::size_t left_out : rotation_.samples) {
      Tiles taught, judging;
      for (std::size_t i = 0; i < samples_.size(); ++i) {
        add_tiles(samples_[i], i == left_out ? judging : taught);
      }
      net_ = start_.input_channels() == delivered.input_channels() ? start_
                                                                   : with_context_planes(start_);
      for (int round = 0; round < std::min(rounds_made_, kRotatedRounds); ++round) {
        teach_round(round, taught);
      }
      settle(taught);
      const std::vector<Overlap> found = measure(judging);
      for (const int c : rotation_.categories) add(found[c], overlaps[c]);
    }
    net_ = delivered;
  }

  int context_planes() const { return context_.empty() ? 0 : count(); }

  /// Few images do not tell what a whole region looks like, overviews do not show thin marks,
  /// and small regions are seen nearly whole by the fine network.
  bool may_have_context() const {
    if (few_ || measure_overviews(context_data_, all_) < kLeastShown) return false;
    return std::any_of(all_.begin(), all_.end(), [](const TrainingTile* tile) {
      return std::max(tile->origin.place.width, tile->origin.place.height) > kSeenWithoutContext;
    });
  }

  /// Planes that are new, of hues or of categories, come between those of the base.
  void grow(const ModelState& base, const std::vector<int>& places) {
    context_.positions = base.context.positions;
    std::vector<int> own(base.input.planes());
    std::iota(own.begin(), own.end(), 0);
    std::vector<int> inputs = own;
    for (int i = 0; i < kPositionPlanes; ++i) inputs.push_back(spec_.planes() + i);
    for (const nn::Network& net : base.context.nets) {
      context_.nets.push_back(grow_net(net, {spec_.planes() + kPositionPlanes, inputs},
                                       {count(), places}, kSeed + 100));
    }
    if (!context_.empty()) {
      inputs = own;
      for (const int place : places) inputs.push_back(spec_.planes() + place);
    }
    inputs.resize(base.net.input_channels());
    net_ =
        grow_net(base.net, {spec_.planes() + context_planes(), inputs}, {count(), places}, kSeed);
  }

  /// Networks for a context from nothing; none where they know too little.
  ContextModel initial_context(const std::vector<bool>& held) {
    ContextModel context;
    for (int i = 0; i < kContextFolds; ++i) {
      context.nets.push_back(
          make_initial_net(spec_.planes() + kPositionPlanes, count(), kSeed + 100 + i));
    }
    teach_context(held, context);
    if (choose_positions(context_data_, context, pool_) < kLeastKnown) return {};
    return context;
  }

  void teach_context(const std::vector<bool>& held, ContextModel& context) {
    std::vector<bool> teaches = held;
    teaches.flip();
    assign_folds(teaches, static_cast<int>(context.nets.size()), context_data_.overviews);
    train_context(context_data_, {effort_.context_steps, effort_.peak_rate}, kSeed + 100, context,
                  pool_);
  }

  /// A round with context and one without, from the same network: the context stays if it is
  /// needed. What is easily seen nearby is known best by the fine network on its own.
  double run_round_with_choice(int round, const std::vector<bool>& held, const Tiles& judging,
                               const Tiles& taught) {
    ContextModel context = initial_context(held);
    const nn::Network before = net_;
    const double without = run_round(round, judging, taught);
    if (context.empty()) return without;
    nn::Network alone = std::exchange(net_, with_context_planes(before));
    context_ = std::move(context);
    maps_ = map_overviews(context_data_, context_, pool_);
    const double with = run_round(round, judging, taught);
    if (with >= without + kClearNeed) return with;
    net_ = std::move(alone);
    context_ = {};
    maps_.clear();
    return without;
  }

  nn::Network with_context_planes(const nn::Network& net) const {
    std::vector<int> inputs(spec_.planes()), categories(count());
    std::iota(inputs.begin(), inputs.end(), 0);
    std::iota(categories.begin(), categories.end(), 0);
    return grow_net(net, {spec_.planes() + count(), inputs}, {count(), categories}, kSeed);
  }

  /// Those of the exemplars, with their new places in the list; none without context.
  void keep_overviews(ModelState& state) const {
    std::vector<int> places(context_data_.overviews.size(), -1);
    for (TrainingTile& tile : state.exemplars) {
      int& index = tile.origin.overview;
      if (context_.empty()) index = -1;
      if (index < 0) continue;
      if (places[index] < 0) {
        places[index] = static_cast<int>(state.overviews.size());
        state.overviews.push_back(context_data_.overviews[index]);
      }
      index = places[index];
    }
  }

  void run_rounds(const std::vector<bool>& held, const Tiles& judging, const Tiles& taught) {
    double score = 0;
    if (only_known_categories_) {
      maps_ = map_overviews(context_data_, context_, pool_);
      score = judge(judging);
      if (score >= kGoodScore) effort_ = kTouchedUp;
    }
    if (!context_.empty() && effort_.context_steps > 0) {
      pool_.monitor().expect(steps_from(0) + kContextFolds * effort_.context_steps);
      teach_context(held, context_);
      maps_ = map_overviews(context_data_, context_, pool_);
    }
    Progress progress(score);
    for (int round = 0; round < effort_.max_rounds; ++round) {
      pool_.monitor().expect(steps_from(round));
      const bool chooses =
          from_nothing_ && round == kRoundOfChoice && may_have_context() && score < kNeedsNoContext;
      score = chooses ? run_round_with_choice(round, held, judging, taught)
                      : run_round(round, judging, taught);
      ++rounds_made_;
      if (progress.is_over(score)) break;
    }
  }

  /// Returns the score after it.
  double run_round(int round, const Tiles& judging, const Tiles& taught) {
    teach_round(round, taught);
    const double score = judge(judging);
    pool_.monitor().measured(score);
    return score;
  }

  void teach_round(int round, const Tiles& taught) {
    nn::TrainingPlan plan = base_plan(effort_.round_steps, kSeed + 1 + round);
    plan.warm_up = round == 0 ? 0.3 : 0.05;
    plan.final_rate = 1.0;
    run_plan(plan, taught);
  }

  static Tiles unseen_of(const Tiles& judging, const std::vector<bool>& held) {
    Tiles unseen;
    std::copy_if(judging.begin(), judging.end(), std::back_inserter(unseen),
                 [&](const TrainingTile* tile) { return held[tile->origin.overview]; });
    return unseen;
  }

  double judge(const Tiles& judging) const { return mean_iou(measure(judging)); }

  std::vector<Overlap> measure(const Tiles& judging) const {
    return measure_overlap(Predictor(net_, spec_), judging, maps_, pool_);
  }

  /// At a rate that falls from a share of the peak to next to nothing.
  void run_falling(int steps, double rate, const Tiles& tiles, std::uint64_t seed) {
    nn::TrainingPlan plan = base_plan(steps, seed);
    plan.peak_rate *= rate;
    plan.warm_up = 0.05;
    plan.final_rate = 0.01;
    run_plan(plan, tiles);
  }

  nn::TrainingPlan base_plan(int steps, std::uint64_t seed) const {
    nn::TrainingPlan plan;
    plan.steps = steps;
    plan.seed = seed;
    plan.peak_rate = effort_.peak_rate;
    return plan;
  }

  void run_plan(const nn::TrainingPlan& plan, const Tiles& tiles) {
    Tiles old;
    for (const TrainingTile& tile : rehearsed_) old.push_back(&tile);
    const int side = choose_crop_side(all_);
    const CropStyle style{context_.empty() ? nullptr : &maps_, false, kWithoutContext, few_};
    teach(net_,
          {CropSource(tiles, side, count(), spec_, style),
           CropSource(old, side, count(), spec_, style), !old.empty()},
          plan, pool_);
  }

  std::vector<std::string> categories_;
  std::vector<PreparedSample> samples_;
  Effort effort_;
  core::WorkerPool& pool_;
  Tiles all_;
  bool from_nothing_ = false;
  bool few_ = false;  // images, and nothing before them
  bool only_known_categories_ = false;
  std::vector<TrainingTile> rehearsed_;  // exemplars of the base, renumbered
  InputSpec spec_;
  nn::Network net_;
  nn::Network start_;  // before the first round
  int rounds_made_ = 0;
  Rotation rotation_;
  ContextModel context_;
  ContextData context_data_;  // overviews of the samples, then of the exemplars
  std::vector<ContextMap> maps_;
};

}  // namespace

TrainedModel train_model(const ModelState* base, const std::vector<std::string>& categories,
                         std::vector<PreparedSample> samples, core::WorkerPool& pool) {
  return Trainer(base, categories, std::move(samples), pool).run();
}

}  // namespace telvar::segmenter
