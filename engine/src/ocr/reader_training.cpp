#include "ocr/reader_training.h"

#include <algorithm>

#include "ocr/assessment.h"
#include "ocr/exemplars.h"
#include "ocr/learning.h"
#include "ocr/reader_net.h"
#include "ocr/targets.h"

namespace telvar::ocr {
namespace {

constexpr int kLeastSteps = 600;
constexpr int kMostSteps = 7500;
constexpr int kStepsPerLabel = 18;
constexpr int kGoingOn = 5;          // a training from an artifact takes so many times fewer steps
constexpr float kFirstStage = 0.4f;  // share of the steps
constexpr double kPeakRate = 4e-3;
constexpr double kPeakRateGoingOn = 2e-3;
constexpr int kHoldBackEvery = 4;
/// A data set in which at most this share of what is read has no label is taken as fully labelled:
/// what else the first stage found is texture that looks like characters.
constexpr double kFullyLabelled = 0.1;

using SampleRefs = std::vector<const PreparedSample*>;

/// What one training works with.
struct Job {
  core::WorkerPool& pool;
  ReaderState& state;
  std::vector<PreparedSample>& samples;
  int steps;
  double peak_rate;

  LearningPlan plan(int stage, int stage_steps, float uncertain_weight) const {
    LearningPlan plan;
    plan.steps = stage_steps;
    plan.peak_rate = peak_rate;
    plan.uncertain_weight = uncertain_weight;
    plan.seed = std::uint64_t{state.generation} << 8 | static_cast<std::uint64_t>(stage);
    return plan;
  }
  SampleRefs refs(bool with_held_back) const;
  bool holds_back() const { return static_cast<int>(samples.size()) >= kLeastHeldBackFrom; }
  bool is_held_back(std::size_t i) const {
    return holds_back() && i % kHoldBackEvery == kHoldBackEvery - 1;
  }
};

SampleRefs Job::refs(bool with_held_back) const {
  SampleRefs refs;
  for (const PreparedSample& exemplar : state.exemplars) refs.push_back(&exemplar);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (with_held_back || !is_held_back(i)) refs.push_back(&samples[i]);
  }
  return refs;
}

/// Old indexes to new ones: where each of `from` stands in `to`; both ascending.
std::vector<int> positions(const std::vector<std::string>& from,
                           const std::vector<std::string>& to) {
  std::vector<int> result;
  for (const std::string& category : from) result.push_back(index_of(category, to));
  return result;
}

ReaderState fresh_state(const std::vector<std::string>& categories, core::Random& random) {
  ReaderState state;
  state.categories = categories;
  state.net = make_reader_net(static_cast<int>(categories.size()), random);
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

struct Count {
  int right = 0;
  int all = 0;
  float rate() const { return all == 0 ? 0 : static_cast<float>(right) / static_cast<float>(all); }
};

/// After the first stage: finds the characters without labels, and reads what was held back.
Count look_around(const Job& job) {
  const ReadingNet net(job.state.net);
  Count held_back;
  std::vector<std::vector<PreparedLabel>> unlabelled;
  std::size_t found = 0, labels = 0;
  for (std::size_t i = 0; i < job.samples.size(); ++i) {
    Assessment assessment = assess(net, job.state.spacing, job.samples[i], job.pool);
    labels += job.samples[i].labels.size();
    found += assessment.unlabelled.size();
    unlabelled.push_back(std::move(assessment.unlabelled));
    if (!job.is_held_back(i)) continue;
    held_back.right += assessment.right;
    held_back.all += static_cast<int>(job.samples[i].labels.size());
  }
  if (static_cast<double>(found) <= kFullyLabelled * static_cast<double>(found + labels)) {
    return held_back;
  }
  for (std::size_t i = 0; i < job.samples.size(); ++i) {
    job.samples[i].unlabelled = std::move(unlabelled[i]);
  }
  return held_back;
}

/// Both stages; returns the rate over what was held back.
Count learn_in_stages(const Job& job) {
  const int first = static_cast<int>(static_cast<float>(job.steps) * kFirstStage);
  learn(job.state.net, job.refs(false), job.plan(1, first, kUncertainWeight), job.pool);
  const Count held_back = look_around(job);
  learn(job.state.net, job.refs(true), job.plan(2, job.steps - first, 1), job.pool);
  return held_back;
}

Count read_all(const Job& job, std::vector<std::vector<float>>& confidences) {
  const ReadingNet net(job.state.net);
  Count count;
  for (const PreparedSample& sample : job.samples) {
    Assessment assessment = assess(net, job.state.spacing, sample, job.pool);
    count.right += assessment.right;
    count.all += static_cast<int>(sample.labels.size());
    confidences.push_back(std::move(assessment.confidences));
  }
  return count;
}

}  // namespace

int training_steps(std::size_t labels) {
  const auto wanted = static_cast<int>(std::min<std::size_t>(labels, kMostSteps)) * kStepsPerLabel;
  return std::clamp(wanted, kLeastSteps, kMostSteps);
}

TrainingOutcome train_reader(std::optional<ReaderState> previous,
                             const std::vector<std::string>& categories, const NominalSize& size,
                             std::vector<PreparedSample> samples, int steps,
                             core::WorkerPool& pool) {
  constexpr std::uint64_t kSeed = 0x6f6372;  // any constant: keys the random numbers
  TrainingOutcome outcome;
  const bool goes_on = previous.has_value();
  core::Random random({kSeed, goes_on ? previous->generation + 1u : 0u});
  outcome.state = goes_on ? extended(std::move(*previous), categories, random)
                          : fresh_state(categories, random);
  outcome.state.size = size;
  ++outcome.state.generation;
  for (const PreparedSample& sample : samples) outcome.state.spacing.learn(sample.labels);
  const Job job{pool, outcome.state, samples, goes_on ? steps / kGoingOn : steps,
                goes_on ? kPeakRateGoingOn : kPeakRate};
  const Count held_back = learn_in_stages(job);
  const Count all = read_all(job, outcome.confidences);
  outcome.reading_rate = held_back.all > 0 ? held_back.rate() : all.rate();
  outcome.state.exemplars =
      choose_exemplars(job.refs(true), static_cast<int>(categories.size()), random);
  return outcome;
}

}  // namespace telvar::ocr
