#include "ocr/experts/expert_training.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "ocr/experts/calibration.h"
#include "ocr/experts/evaluation.h"
#include "ocr/experts/exemplars.h"
#include "ocr/experts/inference.h"
#include "ocr/network/loss.h"

namespace telvar::ocr {
namespace {

/// One new image in so many is held out. With twenty images of twenty characters that is five, so
/// that a character is one percent. Chosen by judgement; the second stage learns from them too.
constexpr int kHoldOutEvery = 4;
/// A data set too small to hold out from is cut into so many parts; each is read by a network that
/// learned from the rest.
constexpr int kFolds = 2;
/// Half of the rate that suits a network that has learned nothing: here it has learned the base.
constexpr double kPeakRate = 2e-3;
/// At the full rate, a few images would be learned by heart, at the cost of what the base knows. On
/// five images each of three kinds of marking, a quarter of the rate brought 65 % exact lines to 74
/// % (an eighth was as good); on twenty it changed nothing. The same holds where little is to be
/// learned: at the full rate, the few steps of a touch-up made every other 0 of one style an O.
constexpr double kGentlePeakRate = 5e-4;

/// A data set in which at most this share of what is read has no label is taken as fully labelled:
/// what else was found is texture that looks like characters.
constexpr double kFullyLabelled = 0.1;

/// The share of the held-out labels by which a round must read more than the best one before it,
/// and one label at least, to count as better.
constexpr double kLeastGain = 0.003;
/// Rounds end when so many of them in a row brought nothing.
constexpr int kPatience = 2;
/// Rounds end at once when this share of the held-out labels is read: little is left to gain.
constexpr double kAsGoodAsAll = 0.998;

/// Steps of one round of the first stage, how many rounds it has at most, and steps of the second
/// stage after that many.
constexpr int kRoundSteps = 500, kMostRounds = 9, kFinishSteps = 3500;

}  // namespace

const ExpertTraining::FewSteps ExpertTraining::kUsual{400, 1500};
const ExpertTraining::FewSteps ExpertTraining::kTouchUp{100, 300};

/// What a network makes of some samples.
struct ExpertTraining::Score {
  int right = 0;
  int labels = 0;
  std::vector<LabelledScores> judged;

  double rate() const { return labels == 0 ? 0 : static_cast<double>(right) / labels; }
  void add(const PreparedSample& sample, Evaluation&& evaluation) {
    right += evaluation.right;
    labels += static_cast<int>(sample.labels.size());
    std::move(evaluation.judged.begin(), evaluation.judged.end(), std::back_inserter(judged));
  }
  void add(Score&& other) {
    right += other.right;
    labels += other.labels;
    std::move(other.judged.begin(), other.judged.end(), std::back_inserter(judged));
  }
  bool is_better_than(int best) const { return right - best >= std::max(1.0, kLeastGain * labels); }
};

ExpertTraining::ExpertTraining(Expert& expert, std::vector<PreparedSample>& samples,
                               core::TrainingPool& pool, ExpertTrainingPlan plan)
    : expert_(expert), samples_(samples), pool_(pool), plan_(std::move(plan)) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (plan_.fresh[i]) fresh_.push_back(i);
    if (plan_.taught[i]) expert_.spacing.learn(samples[i].labels);
  }
}

double ExpertTraining::explore() {
  look_before();
  const Score unseen = is_few() ? learn_folds() : learn_holding_out();
  expert_.sharpness = fit_sharpness(unseen.judged);
  return unseen.labels > 0 ? unseen.rate() : -1;
}

const nn::Network& ExpertTraining::explored() const {
  return of_fold_ ? *of_fold_ : expert_.net;
}

void ExpertTraining::also_teach(const std::vector<char>& samples) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (samples[i] && !plan_.taught[i]) expert_.spacing.learn(samples_[i].labels);
    plan_.taught[i] = plan_.taught[i] || samples[i];
  }
}

void ExpertTraining::finish() {
  settle_unlabelled();
  pool_.monitor().expect(finish_steps_);
  train_network(expert_.net, all(), stage(finish_steps_, 1), pool_);
  core::Random random({plan_.seed});
  expert_.exemplars = choose_exemplars(all(), static_cast<int>(expert_.categories.size()), random);
}

bool ExpertTraining::is_few() const {
  return static_cast<int>(fresh_.size()) < kLeastHeldOutFrom;
}

/// The expert's exemplars and the taught samples, without those that are held out.
ExpertTraining::SampleRefs ExpertTraining::without(const std::vector<char>& held) const {
  SampleRefs refs;
  for (const PreparedSample& exemplar : expert_.exemplars) refs.push_back(&exemplar);
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    if (plan_.taught[i] && !held[i]) refs.push_back(&samples_[i]);
  }
  return refs;
}

ExpertTraining::SampleRefs ExpertTraining::all() const {
  return without(std::vector<char>(samples_.size()));
}

NetworkPlan ExpertTraining::stage(int steps, float uncertain_weight) {
  NetworkPlan plan;
  plan.steps = plan_.most_stage_steps > 0 ? std::min(steps, plan_.most_stage_steps) : steps;
  plan.peak_rate = is_few() || is_read_well_ ? kGentlePeakRate : kPeakRate;
  plan.uncertain_weight = uncertain_weight;
  plan.seed = plan_.seed << 8 | ++stages_;
  return plan;
}

/// Evaluates the samples flagged, and notes what they show without a label.
ExpertTraining::Score ExpertTraining::evaluate_flagged(const nn::Network& net,
                                                       const std::vector<char>& which) {
  Score score;
  const NetworkInference inference(net);
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    if (!which[i]) continue;
    const auto votes = inference.votes(source_of(samples_[i]), pool_);
    Evaluation evaluation = evaluate(decode(votes, expert_.spacing), samples_[i]);
    samples_[i].unlabelled = std::move(evaluation.unlabelled);
    score.add(samples_[i], std::move(evaluation));
  }
  return score;
}

/// Forgets what was found without a label where next to nothing was.
void ExpertTraining::settle_unlabelled() {
  std::size_t found = 0, labels = 0;
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    if (!plan_.taught[i]) continue;
    found += samples_[i].unlabelled.size();
    labels += samples_[i].labels.size();
  }
  if (static_cast<double>(found) <= kFullyLabelled * static_cast<double>(found + labels)) {
    forget_unlabelled();
  }
}

void ExpertTraining::forget_unlabelled() {
  for (PreparedSample& sample : samples_) sample.unlabelled.clear();
}

/// Flags one in `count` of the new samples, beginning with number `first` of them.
std::vector<char> ExpertTraining::every(int count, int first) const {
  std::vector<char> flags(samples_.size());
  for (std::size_t i = static_cast<std::size_t>(first); i < fresh_.size();
       i += static_cast<std::size_t>(count)) {
    flags[fresh_[i]] = 1;
  }
  return flags;
}

/// How well new images are read before anything was learned of them decides how to learn. What the
/// network finds without a label on them is not taught as background, if it can be trusted.
void ExpertTraining::look_before() {
  const double rate = evaluate_flagged(expert_.net, plan_.fresh).rate();
  if (rate >= kTrustedFromTheStart) {
    settle_unlabelled();
  } else {
    forget_unlabelled();
  }
  is_read_well_ = rate >= kGoodFromTheStart;
  if (is_read_well_ && plan_.is_resumed) few_steps_ = kTouchUp;
}

/// Rounds follow each other while held-out images are read better.
ExpertTraining::Score ExpertTraining::learn_holding_out() {
  const std::vector<char> held = every(kHoldOutEvery, kHoldOutEvery - 1);
  Score score = evaluate_flagged(expert_.net, held);
  int best = score.right;
  int idle = 0, rounds = 0;
  core::Monitor& monitor = pool_.monitor();
  monitor.measured(score.rate());
  while (rounds < kMostRounds && idle < kPatience) {
    monitor.expect((kMostRounds - rounds) * kRoundSteps + kFinishSteps);
    NetworkPlan round = stage(kRoundSteps, kUncertainWeight);
    round.final_rate = 1;
    if (rounds > 0) round.warm_up = 0.02;
    train_network(expert_.net, without(held), round, pool_);
    ++rounds;
    score = evaluate_flagged(expert_.net, held);
    monitor.measured(score.rate());
    idle = score.is_better_than(best) ? 0 : idle + 1;
    best = std::max(best, score.right);
    if (score.rate() >= kAsGoodAsAll) idle = kPatience;
  }
  evaluate_flagged(expert_.net, plan_.taught);
  const double share = std::sqrt(static_cast<double>(rounds) / kMostRounds);
  finish_steps_ = static_cast<int>(kFinishSteps * share);
  return score;
}

/// Each fold of the new images is read by a network that learned from everything else.
ExpertTraining::Score ExpertTraining::learn_folds() {
  Score unseen;
  core::Monitor& monitor = pool_.monitor();
  monitor.expect(kFolds * few_steps_.of_fold + few_steps_.of_delivered);
  const int folds = fresh_.size() >= kFolds ? kFolds : 0;
  for (int fold = 0; fold < folds; ++fold) {
    const std::vector<char> held = every(kFolds, fold);
    const SampleRefs others = without(held);
    const bool has_labels =
        std::any_of(others.begin(), others.end(),
                    [](const PreparedSample* sample) { return !sample->labels.empty(); });
    if (!has_labels) continue;
    of_fold_ = expert_.net;
    train_network(*of_fold_, others, stage(few_steps_.of_fold, kUncertainWeight), pool_);
    unseen.add(evaluate_flagged(*of_fold_, held));
    monitor.measured(unseen.rate());
  }
  if (unseen.labels == 0) {
    train_network(expert_.net, all(), stage(few_steps_.of_fold, kUncertainWeight), pool_);
    evaluate_flagged(expert_.net, plan_.taught);
  }
  finish_steps_ = few_steps_.of_delivered;
  return unseen;
}

}  // namespace telvar::ocr
