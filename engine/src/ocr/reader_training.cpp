#include "ocr/reader_training.h"

#include <algorithm>
#include <cmath>

#include "ocr/assessment.h"
#include "ocr/base.h"
#include "ocr/calibration.h"
#include "ocr/exemplars.h"
#include "ocr/learning.h"
#include "ocr/reader_net.h"
#include "ocr/targets.h"

namespace telvar::ocr {
namespace {

constexpr int kHoldOutEvery = 4;
constexpr int kFolds = 2;  // of a data set too small to hold out from
constexpr double kPeakRate = 2e-3;

/// A data set in which at most this share of what is read has no label is taken as fully labelled:
/// what else was found is texture that looks like characters.
constexpr double kFullyLabelled = 0.1;

/// How long to learn. Rounds go on while what is held out is read better.
struct Effort {
  int round_steps = 500;
  int most_rounds = 9;
  int finish_steps = 3500;
  int fold_steps = 400;  // of each fold's network
  int few_steps = 1500;  // of the delivered network, where there are few images
};

/// When a network reads new images well before it has learned anything of them. From the lower rate
/// on, what it reads without a label is taken for a character from the start.
constexpr double kGoodFromTheStart = 0.97;
constexpr double kTrustedFromTheStart = 0.8;
constexpr Effort kTouchUp{200, 2, 300, 100, 300};

/// A round must read so much more of what is held out, or so many labels, to count as better.
constexpr double kLeastGain = 0.003;
/// Rounds end when so many of them in a row brought nothing.
constexpr int kPatience = 2;
constexpr double kAsGoodAsAll = 0.998;

using SampleRefs = std::vector<const PreparedSample*>;

struct Count {
  int right = 0;
  int all = 0;
  double rate() const { return all == 0 ? 0 : static_cast<double>(right) / all; }
  void add(const Assessment& assessment, const PreparedSample& sample) {
    right += assessment.right;
    all += static_cast<int>(sample.labels.size());
  }
};

std::uint64_t digest_of(const PreparedSample& sample) {
  return core::checksum(
      {reinterpret_cast<const char*>(sample.pixels.data()), sample.pixels.size()});
}

/// Old indexes to new ones: where each of `from` stands in `to`, nn::kNone where it does not; both
/// ascending.
std::vector<int> positions(const std::vector<std::string>& from,
                           const std::vector<std::string>& to) {
  std::vector<int> result;
  for (const std::string& category : from) {
    const bool there = std::binary_search(to.begin(), to.end(), category);
    result.push_back(there ? index_of(category, to) : nn::kNone);
  }
  return result;
}

/// The base for the categories that it knows; the others start afresh.
nn::Network base_for(const std::vector<std::string>& categories, core::Random& random) {
  const ReaderState base = built_in_base();
  return widened(base.net, static_cast<int>(categories.size()),
                 positions(base.categories, categories), random);
}

ReaderState fresh_state(const std::vector<std::string>& categories, core::Random& random) {
  ReaderState state;
  state.categories = categories;
  state.base = kBaseNumber;
  state.net = base_for(categories, random);
  state.spacing = Spacing(static_cast<int>(categories.size()));
  return state;
}

ReaderState extended(ReaderState state, const std::vector<std::string>& categories,
                     core::Random& random) {
  const std::vector<int> position = positions(state.categories, categories);
  const int count = static_cast<int>(categories.size());
  state.net = widened(state.net, count, position, random);
  state.spacing = state.spacing.renumbered(position, count);
  for (PreparedSample& exemplar : state.exemplars) {
    for (auto* labels : {&exemplar.labels, &exemplar.unlabelled}) {
      for (PreparedLabel& label : *labels) {
        label.category = position[static_cast<std::size_t>(label.category)];
      }
    }
  }
  state.categories = categories;
  return state;
}

class Training {
 public:
  Training(ReaderState& state, std::vector<PreparedSample>& samples, int most_steps,
           core::WorkerPool& pool)
      : state_(state), samples_(samples), most_steps_(most_steps), pool_(pool) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const std::uint64_t digest = digest_of(samples[i]);
      if (!std::binary_search(state.seen.begin(), state.seen.end(), digest)) new_.push_back(i);
      digests_.push_back(digest);
    }
  }

  /// Two kinds of marking need more than one: longer rounds and a longer finish.
  Effort for_two_kinds() const {
    Effort effort;
    effort.round_steps = 800;
    effort.finish_steps = 7000;
    effort.fold_steps = 600;
    effort.few_steps = 3000;
    return effort;
  }

  /// Starts over from the base where that reads the new images better than the network does, as it
  /// may when they are of another kind than those before; what is kept of the latter is learned
  /// again.
  void choose_start(const nn::Network& base) {
    const std::vector<char> fresh = chosen([](int) { return true; });
    const Count own = read(state_.net, fresh).count;
    if (own.rate() >= kTrustedFromTheStart) return;
    if (read(base, fresh).count.right > own.right) state_.net = base;
  }

  /// Returns the rate as TrainingOutcome has it.
  float run() {
    if (static_cast<int>(new_.size()) >= kLeastHeldOutFrom) return learn_holding_out();
    return learn_from_few();
  }

  /// Of every sample, by the network as it is now.
  Count read_all(std::vector<std::vector<float>>& confidences) const {
    Count count;
    const ReadingNet net(state_.net);
    for (const PreparedSample& sample : samples_) {
      Assessment assessment = assess(net, state_.spacing, sample, pool_);
      count.add(assessment, sample);
      confidences.push_back(std::move(assessment.confidences));
    }
    return count;
  }

  void remember() {
    state_.seen.insert(state_.seen.end(), digests_.begin(), digests_.end());
    std::sort(state_.seen.begin(), state_.seen.end());
    state_.seen.erase(std::unique(state_.seen.begin(), state_.seen.end()), state_.seen.end());
    state_.seen.resize(std::min<std::size_t>(state_.seen.size(), kMaxSeen));
  }

  SampleRefs refs(const std::vector<char>& left_out) const {
    SampleRefs refs;
    for (const PreparedSample& exemplar : state_.exemplars) refs.push_back(&exemplar);
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      if (!left_out[i]) refs.push_back(&samples_[i]);
    }
    return refs;
  }

  SampleRefs all() const { return refs(std::vector<char>(samples_.size())); }

 private:
  /// What a network makes of the samples that `which` picks.
  struct Reading {
    Count count;
    std::vector<Judged> judged;
    std::size_t unlabelled = 0;
  };

  LearningPlan plan(int steps, float uncertain_weight) {
    LearningPlan plan;
    plan.steps = most_steps_ > 0 ? std::max(1, std::min(steps, most_steps_ / 4)) : steps;
    plan.peak_rate = kPeakRate;
    plan.uncertain_weight = uncertain_weight;
    plan.seed = std::uint64_t{state_.generation} << 8 | ++stages_;
    return plan;
  }

  /// Reads some samples, and notes what they show without a label.
  Reading read(const nn::Network& net, const std::vector<char>& which) {
    Reading reading;
    const ReadingNet reader(net);
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      if (!which[i]) continue;
      Assessment assessment = assess(reader, state_.spacing, samples_[i], pool_);
      reading.count.add(assessment, samples_[i]);
      reading.unlabelled += assessment.unlabelled.size();
      samples_[i].unlabelled = std::move(assessment.unlabelled);
      std::move(assessment.judged.begin(), assessment.judged.end(),
                std::back_inserter(reading.judged));
    }
    return reading;
  }

  /// Forgets what was found without a label where next to nothing was.
  void settle_unlabelled() {
    std::size_t found = 0, labels = 0;
    for (const PreparedSample& sample : samples_) {
      found += sample.unlabelled.size();
      labels += sample.labels.size();
    }
    if (static_cast<double>(found) > kFullyLabelled * static_cast<double>(found + labels)) return;
    for (PreparedSample& sample : samples_) sample.unlabelled.clear();
  }

  /// The new samples that stand at these places among them.
  template <class Pick>
  std::vector<char> chosen(const Pick& pick) const {
    std::vector<char> flags(samples_.size());
    for (std::size_t i = 0; i < new_.size(); ++i) flags[new_[i]] = pick(static_cast<int>(i));
    return flags;
  }

  /// How well new images are read before anything was learned of them decides on the effort. What
  /// the network finds without a label on them is not taught as background, if it can be trusted.
  Effort look_before() {
    const double rate = read(state_.net, chosen([](int) { return true; })).count.rate();
    if (rate >= kTrustedFromTheStart) {
      settle_unlabelled();
    } else {
      for (PreparedSample& sample : samples_) sample.unlabelled.clear();
    }
    if (rate >= kGoodFromTheStart) return kTouchUp;
    return rate < kTrustedFromTheStart && !state_.exemplars.empty() ? for_two_kinds() : Effort();
  }

  static bool is_better(const Count& now, const Count& best) {
    return now.right - best.right >= std::max(1.0, kLeastGain * now.all);
  }

  float learn_holding_out() {
    const std::vector<char> held =
        chosen([](int i) { return i % kHoldOutEvery == kHoldOutEvery - 1; });
    const Effort effort = look_before();
    Reading reading = read(state_.net, held);
    Count best = reading.count;
    int idle = 0, rounds = 0;
    while (rounds < effort.most_rounds && idle < kPatience) {
      LearningPlan round = plan(effort.round_steps, kUncertainWeight);
      round.final_rate = 1;
      if (rounds > 0) round.warm_up = 0.02;
      learn(state_.net, refs(held), round, pool_);
      ++rounds;
      reading = read(state_.net, held);
      idle = is_better(reading.count, best) ? 0 : idle + 1;
      if (reading.count.right > best.right) best = reading.count;
      if (reading.count.rate() >= kAsGoodAsAll) idle = kPatience;
    }
    read(state_.net, std::vector<char>(samples_.size(), 1));
    settle_unlabelled();
    state_.sharpness = fit_sharpness(reading.judged);
    const double share = std::sqrt(static_cast<double>(rounds) / effort.most_rounds);
    learn(state_.net, all(), plan(static_cast<int>(effort.finish_steps * share), 1), pool_);
    return static_cast<float>(reading.count.rate());
  }

  /// Each fold of the new images is read by a network that learned from everything else.
  float learn_from_few() {
    const Effort effort = look_before();
    Count unseen;
    std::vector<Judged> judged;
    for (int fold = 0; fold < kFolds && new_.size() >= kFolds; ++fold) {
      const std::vector<char> held = chosen([=](int i) { return i % kFolds == fold; });
      nn::Network net = state_.net;
      const SampleRefs taught = refs(held);
      if (!has_labels(taught)) continue;
      learn(net, taught, plan(effort.fold_steps, kUncertainWeight), pool_);
      const Reading reading = read(net, held);
      unseen.right += reading.count.right;
      unseen.all += reading.count.all;
      judged.insert(judged.end(), reading.judged.begin(), reading.judged.end());
    }
    if (unseen.all == 0) {
      learn(state_.net, all(), plan(effort.fold_steps, kUncertainWeight), pool_);
      read(state_.net, std::vector<char>(samples_.size(), 1));
    }
    settle_unlabelled();
    state_.sharpness = fit_sharpness(judged);
    learn(state_.net, all(), plan(effort.few_steps, 1), pool_);
    return unseen.all > 0 ? static_cast<float>(unseen.rate()) : -1;
  }

  static bool has_labels(const SampleRefs& samples) {
    return std::any_of(samples.begin(), samples.end(),
                       [](const PreparedSample* sample) { return !sample->labels.empty(); });
  }

  ReaderState& state_;
  std::vector<PreparedSample>& samples_;
  int most_steps_;
  core::WorkerPool& pool_;
  std::vector<std::size_t> new_;  // samples that the network has not seen
  std::vector<std::uint64_t> digests_;
  std::uint64_t stages_ = 0;
};

}  // namespace

TrainingOutcome train_reader(std::optional<ReaderState> previous,
                             const std::vector<std::string>& categories, const NominalSize& size,
                             std::vector<PreparedSample> samples, int most_steps,
                             core::WorkerPool& pool) {
  constexpr std::uint64_t kSeed = 0x6f6372;  // any constant: keys the random numbers
  TrainingOutcome outcome;
  core::Random random({kSeed, previous ? previous->generation + 1u : 0u});
  const bool goes_on = previous.has_value();
  outcome.state = previous ? extended(std::move(*previous), categories, random)
                           : fresh_state(categories, random);
  outcome.state.size = size;
  ++outcome.state.generation;
  for (const PreparedSample& sample : samples) outcome.state.spacing.learn(sample.labels);
  Training training(outcome.state, samples, most_steps, pool);
  if (goes_on) training.choose_start(base_for(categories, random));
  outcome.reading_rate = training.run();
  const Count count = training.read_all(outcome.confidences);
  if (outcome.reading_rate < 0) outcome.reading_rate = static_cast<float>(-count.rate());
  training.remember();
  outcome.state.exemplars =
      choose_exemplars(training.all(), static_cast<int>(categories.size()), random);
  return outcome;
}

}  // namespace telvar::ocr
