#include "ocr/training.h"

#include <algorithm>

#include "ocr/base.h"
#include "ocr/evaluation.h"
#include "ocr/expert_inference.h"
#include "ocr/expert_training.h"
#include "ocr/network.h"

namespace telvar::ocr {
namespace {

constexpr std::uint64_t kSeed = 0x6f6372;  // any constant: keys the random numbers

/// A new expert that reads the exemplars of an earlier one, which it has not seen, as well as the
/// held-out images of its own but for this, knows the same kind of marking and takes its place.
/// About two standard deviations of the share read right of 500 characters.
constexpr double kSameKindMargin = 0.015;

/// How labels are read.
struct LabelCount {
  int right = 0;    // as such
  int unknown = 0;  // of categories that the expert does not know: as any character
};

std::uint64_t digest_of(const PreparedSample& sample) {
  return core::checksum(
      {reinterpret_cast<const char*>(sample.pixels.data()), sample.pixels.size()});
}

class Training {
 public:
  Training(ReaderState& state, const std::vector<std::string>& categories,
           std::vector<PreparedSample>& samples, core::WorkerPool& pool)
      : state_(state), categories_(categories), samples_(samples), pool_(pool) {
    for (const PreparedSample& sample : samples) {
      const std::uint64_t digest = digest_of(sample);
      digests_.push_back(digest);
      plan_.fresh.push_back(!std::binary_search(state.seen.begin(), state.seen.end(), digest));
    }
    plan_.seed = std::uint64_t{kSeed} << 16 | state.generation;
    random_ = core::Random({kSeed, state.generation});
  }

  float run(int most_steps) {
    plan_.most_steps = most_steps;
    Expert expert = choose_expert();
    ExpertTraining training(expert, samples_, pool_, plan_);
    const double rate = training.explore();
    if (is_new_ && take_over(expert, training.explored(), rate) && state_.experts.empty()) {
      training.also_teach(std::vector<char>(samples_.size(), 1));
    }
    training.finish();
    state_.experts.push_back(std::move(expert));
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
  using Counts = std::vector<LabelCount>;  // per sample

  /// The base for the categories that it knows; the others start untaught.
  nn::Network base_net() {
    const ReaderState base = built_in_base();
    const Expert& expert = base.experts.front();
    return widened(expert.net, static_cast<int>(categories_.size()),
                   positions(expert.categories, categories_), random_);
  }

  /// An expert that has learned nothing yet but what its network knows.
  Expert new_expert(nn::Network net) {
    is_new_ = true;
    plan_.taught = plan_.fresh;
    Expert expert;
    expert.categories = categories_;
    expert.spacing = Spacing(static_cast<int>(categories_.size()));
    expert.net = std::move(net);
    return expert;
  }

  LabelCount count_labels(const Expert& expert, const ExpertInference& inference,
                          const PreparedSample& sample) const {
    LabelCount count;
    for (const LabelledScores& judged :
         evaluate(inference.recognise(source_of(sample), pool_), sample).judged) {
      const std::string& category = categories_[static_cast<std::size_t>(judged.category)];
      const auto& known = expert.categories;
      if (std::binary_search(known.begin(), known.end(), category)) {
        count.right += judged.right();
      } else {
        ++count.unknown;
      }
    }
    return count;
  }

  /// Of every sample.
  Counts count_all(const Expert& expert) const {
    const ExpertInference inference(expert, categories_);
    Counts counts;
    for (const PreparedSample& sample : samples_) {
      counts.push_back(count_labels(expert, inference, sample));
    }
    return counts;
  }

  bool any_fresh() const {
    return std::find(plan_.fresh.begin(), plan_.fresh.end(), 1) != plan_.fresh.end();
  }

  /// Of the new samples, or of all where none is new.
  LabelCount sum_of(const Counts& counts) const {
    const bool all = !any_fresh();
    LabelCount sum;
    for (std::size_t i = 0; i < counts.size(); ++i) {
      if (!all && !plan_.fresh[i]) continue;
      sum.right += counts[i].right;
      sum.unknown += counts[i].unknown;
    }
    return sum;
  }

  /// Categories that an expert does not know yet are hardly a reason against it.
  static double worth(const LabelCount& count) { return count.right + 0.9 * count.unknown; }

  bool is_strange(const LabelCount& count) const {
    Counts labels;
    for (const PreparedSample& sample : samples_) {
      labels.push_back({static_cast<int>(sample.labels.size()), 0});
    }
    return any_fresh() && count.right + count.unknown < kGoodFromTheStart * sum_of(labels).right;
  }

  /// The expert that learns, taken out of the state: the one that reads the new images best, if it
  /// reads them well; otherwise a new one, which starts from it or from the base, whichever reads
  /// them better.
  Expert choose_expert() {
    if (state_.experts.empty()) return new_expert(base_net());
    std::vector<Counts> counts;
    for (const Expert& expert : state_.experts) counts.push_back(count_all(expert));
    const auto best = std::max_element(
        counts.begin(), counts.end(),
        [this](const Counts& a, const Counts& b) { return worth(sum_of(a)) < worth(sum_of(b)); });
    const auto place = state_.experts.begin() + (best - counts.begin());
    Expert expert = extended(*place, categories_, random_);
    if (is_strange(sum_of(*best))) {
      Expert fresh = new_expert(base_net());
      if (worth(sum_of(count_all(fresh))) <= worth(sum_of(*best))) fresh.net = expert.net;
      if (state_.experts.size() < kMaxExperts) return fresh;
      is_new_ = false;
      expert.net = std::move(fresh.net);
    }
    plan_.taught = best_read_by(*best, counts);
    state_.experts.erase(place);
    return expert;
  }

  /// The new samples, and of those seen before the ones that no expert reads better.
  std::vector<char> best_read_by(const Counts& chosen, const std::vector<Counts>& counts) const {
    std::vector<char> flags = plan_.fresh;
    for (std::size_t i = 0; i < flags.size(); ++i) {
      const auto better = [&](const Counts& other) { return worth(other[i]) > worth(chosen[i]); };
      if (!flags[i]) flags[i] = std::none_of(counts.begin(), counts.end(), better);
    }
    const bool none = std::find(flags.begin(), flags.end(), 1) == flags.end();
    return none ? std::vector<char>(flags.size(), 1) : flags;
  }

  /// Whether a new expert took the place of others, since its network reads their marks as well as
  /// its own. It gets their exemplars.
  bool take_over(Expert& expert, const nn::Network& net, double own_rate) {
    Expert explored = expert;
    explored.net = net;
    const ExpertInference inference(explored, categories_);
    const auto is_covered = [&](const Expert& other) {
      Expert wider = extended(other, categories_, random_);
      const ExpertInference other_inference(other, categories_);
      int own = 0, now = 0;  // some labels cannot be read: they lie on an exemplar's edge
      for (const PreparedSample& exemplar : wider.exemplars) {
        own += count_labels(other, other_inference, exemplar).right;
        now += count_labels(explored, inference, exemplar).right;
      }
      if (now < (own_rate - kSameKindMargin) * own) return false;
      for (PreparedSample& exemplar : wider.exemplars) {
        expert.spacing.learn(exemplar.labels);
        expert.exemplars.push_back(std::move(exemplar));
      }
      return true;
    };
    auto& experts = state_.experts;
    const auto kept = std::remove_if(experts.begin(), experts.end(), is_covered);
    const bool any = kept != experts.end();
    experts.erase(kept, experts.end());
    return any;
  }

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
  core::WorkerPool& pool_;
  std::vector<std::uint64_t> digests_;
  ExpertTrainingPlan plan_;
  core::Random random_{{0}};
  bool is_new_ = false;  // the expert that learns
};

}  // namespace

TrainingOutcome train_reader(std::optional<ReaderState> previous,
                             const std::vector<std::string>& categories, const NominalSize& size,
                             std::vector<PreparedSample> samples, int most_steps,
                             core::WorkerPool& pool) {
  TrainingOutcome outcome;
  if (previous) {
    outcome.state = std::move(*previous);
  } else {
    outcome.state.base = kBaseNumber;
  }
  outcome.state.size = size;
  ++outcome.state.generation;
  Training training(outcome.state, categories, samples, pool);
  outcome.recognition_rate = training.run(most_steps);
  const double rate = training.evaluate_all(outcome.confidences);
  if (outcome.recognition_rate < 0) outcome.recognition_rate = static_cast<float>(-rate);
  return outcome;
}

}  // namespace telvar::ocr
