#include "ocr/training.h"

#include <algorithm>

#include "ocr/base.h"
#include "ocr/expert_choice.h"
#include "ocr/experts/evaluation.h"
#include "ocr/experts/expert_inference.h"
#include "ocr/experts/expert_training.h"
#include "ocr/limits.h"

namespace telvar::ocr {
namespace {

constexpr std::uint64_t kSeed = 0x6f6372;  // any constant: keys the random numbers

std::uint64_t digest_of(const PreparedSample& sample) {
  return core::checksum(
      {reinterpret_cast<const char*>(sample.pixels.data()), sample.pixels.size()});
}

class Training {
 public:
  Training(ReaderState& state, const std::vector<std::string>& categories,
           std::vector<PreparedSample>& samples, core::TrainingPool& pool)
      : state_(state), categories_(categories), samples_(samples), pool_(pool) {
    for (const PreparedSample& sample : samples) {
      const std::uint64_t digest = digest_of(sample);
      digests_.push_back(digest);
      fresh_.push_back(!std::binary_search(state.seen.begin(), state.seen.end(), digest));
    }
  }

  /// Returns the share of labels read right on new images before they were learned from.
  float run(int most_stage_steps) {
    core::Random random({kSeed, state_.generation});
    ExpertChoice choice(categories_, samples_, fresh_, pool_, random);
    ChosenExpert chosen = choice.choose(state_.experts);
    const std::uint64_t seed = kSeed << 16 | state_.generation;
    ExpertTraining training(chosen.expert, samples_, pool_,
                            {chosen.taught, fresh_, !chosen.is_new, most_stage_steps, seed});
    const double rate = training.explore();
    if (chosen.is_new &&
        choice.take_over(state_.experts, chosen.expert, training.explored(), rate) &&
        state_.experts.empty()) {
      training.also_teach(std::vector<char>(samples_.size(), 1));
    }
    training.finish();
    state_.experts.push_back(std::move(chosen.expert));
    remember();
    return static_cast<float>(rate);
  }

  /// Strength times score of every label, by the reader as it is now; returns the share read right.
  double evaluate_all(std::vector<std::vector<float>>& confidences) const {
    std::vector<ExpertInference> inferences;
    for (const Expert& expert : state_.experts) inferences.emplace_back(expert, categories_);
    std::size_t right = 0, all = 0;
    for (const PreparedSample& sample : samples_) {
      Evaluation evaluation =
          evaluate(recognise_best(inferences, source_of(sample), pool_), sample);
      right += static_cast<std::size_t>(evaluation.right);
      all += sample.labels.size();
      confidences.push_back(std::move(evaluation.confidences));
    }
    return all == 0 ? 0 : static_cast<double>(right) / static_cast<double>(all);
  }

 private:
  /// Which images this training has seen.
  void remember() {
    auto& seen = state_.seen;
    seen.insert(seen.end(), digests_.begin(), digests_.end());
    std::sort(seen.begin(), seen.end());
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    seen.resize(std::min<std::size_t>(seen.size(), kMaxSeen));
  }

  ReaderState& state_;
  const std::vector<std::string>& categories_;
  std::vector<PreparedSample>& samples_;
  core::TrainingPool& pool_;
  std::vector<std::uint64_t> digests_;
  std::vector<char> fresh_;  // per sample: seen by no training before
};

}  // namespace

TrainingOutcome train_reader(std::optional<ReaderState> previous,
                             const std::vector<std::string>& categories, const NominalSize& size,
                             std::vector<PreparedSample> samples, int most_stage_steps,
                             core::TrainingPool& pool) {
  TrainingOutcome outcome;
  if (previous) {
    outcome.state = std::move(*previous);
  } else {
    outcome.state.base = kBaseNumber;
  }
  outcome.state.size = size;
  ++outcome.state.generation;
  Training training(outcome.state, categories, samples, pool);
  outcome.recognition_rate = training.run(most_stage_steps);
  const double rate = training.evaluate_all(outcome.confidences);
  if (outcome.recognition_rate < 0) outcome.recognition_rate = static_cast<float>(-rate);
  return outcome;
}

}  // namespace telvar::ocr
