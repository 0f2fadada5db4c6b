#include "ocr/expert_choice.h"

#include <algorithm>

#include "ocr/base.h"
#include "ocr/experts/evaluation.h"
#include "ocr/experts/expert_training.h"
#include "ocr/limits.h"
#include "ocr/network/network.h"

namespace telvar::ocr {
namespace {

/// A new expert takes the place of an earlier one if it reads the exemplars of that one, which it
/// has not seen, as well as the held-out images of its own, or worse by this share at most: then
/// both know the same kind of marking. The share is about two standard deviations of the share read
/// right of 500 characters.
constexpr double kSameKindMargin = 0.015;

/// A label of a category that an expert does not know yet is hardly a reason against it, if it
/// finds a character there; it counts a little less than one read right.
constexpr double kWorthOfUnknown = 0.9;

}  // namespace

double ExpertChoice::LabelCount::worth() const {
  return right + kWorthOfUnknown * unknown;
}

ExpertChoice::ExpertChoice(const std::vector<std::string>& categories,
                           const std::vector<PreparedSample>& samples,
                           const std::vector<char>& fresh, core::TrainingPool& pool,
                           core::Random& random)
    : categories_(categories), samples_(samples), fresh_(fresh), pool_(pool), random_(random) {}

ChosenExpert ExpertChoice::choose(std::vector<Expert>& experts) {
  if (experts.empty()) return {make_new(base_network()), true, fresh_};
  std::vector<Counts> counts;
  counts.reserve(experts.size());
  for (const Expert& expert : experts) counts.push_back(count_all(expert));
  const auto best =
      std::max_element(counts.begin(), counts.end(), [this](const Counts& a, const Counts& b) {
        return sum_of_fresh(a).worth() < sum_of_fresh(b).worth();
      });
  const auto place = experts.begin() + (best - counts.begin());
  Expert expert = extended(*place, categories_, random_);
  if (is_strange(sum_of_fresh(*best))) {
    Expert newcomer = make_new(base_network());
    if (sum_of_fresh(count_all(newcomer)).worth() <= sum_of_fresh(*best).worth()) {
      newcomer.net = expert.net;
    }
    if (experts.size() < kMaxExperts) return {std::move(newcomer), true, fresh_};
    expert.net = std::move(newcomer.net);  // the base's, if it reads the new images better
  }
  experts.erase(place);
  return {std::move(expert), false, best_read_by(*best, counts)};
}

bool ExpertChoice::take_over(std::vector<Expert>& experts, Expert& newcomer, const nn::Network& net,
                             double own_rate) {
  Expert explored = newcomer;
  explored.net = net;
  const auto is_superfluous = [&](const Expert& other) {
    Expert wider = extended(other, categories_, random_);
    if (!reads_as_well(explored, other, wider, own_rate)) return false;
    for (PreparedSample& exemplar : wider.exemplars) {
      newcomer.spacing.learn(exemplar.labels);
      newcomer.exemplars.push_back(std::move(exemplar));
    }
    return true;
  };
  const auto kept = std::remove_if(experts.begin(), experts.end(), is_superfluous);
  const bool any = kept != experts.end();
  experts.erase(kept, experts.end());
  return any;
}

/// Whether the newcomer reads the exemplars of another expert as well as its own samples. Counted
/// are the labels that the other itself can read: some lie on an exemplar's edge.
bool ExpertChoice::reads_as_well(const Expert& newcomer, const Expert& other,
                                 const Expert& other_extended, double own_rate) const {
  const ExpertInference inference(newcomer, categories_), other_inference(other, categories_);
  int readable = 0, right = 0;
  for (const PreparedSample& exemplar : other_extended.exemplars) {
    readable += count_labels(other, other_inference, exemplar).right;
    right += count_labels(newcomer, inference, exemplar).right;
  }
  return right >= (own_rate - kSameKindMargin) * readable;
}

Expert ExpertChoice::make_new(nn::Network net) const {
  Expert expert;
  expert.categories = categories_;
  expert.spacing = Spacing(static_cast<int>(categories_.size()));
  expert.net = std::move(net);
  return expert;
}

/// The built-in base for these categories; those that it does not know start untaught.
nn::Network ExpertChoice::base_network() {
  const ReaderState base = built_in_base();
  const Expert& expert = base.experts.front();
  return widened(expert.net, static_cast<int>(categories_.size()),
                 positions(expert.categories, categories_), random_);
}

ExpertChoice::LabelCount ExpertChoice::count_labels(const Expert& expert,
                                                    const ExpertInference& inference,
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

ExpertChoice::Counts ExpertChoice::count_all(const Expert& expert) const {
  const ExpertInference inference(expert, categories_);
  Counts counts;
  for (const PreparedSample& sample : samples_) {
    counts.push_back(count_labels(expert, inference, sample));
  }
  return counts;
}

bool ExpertChoice::any_fresh() const {
  return std::find(fresh_.begin(), fresh_.end(), 1) != fresh_.end();
}

/// Adds up the counts of the new samples, or of all where none is new.
ExpertChoice::LabelCount ExpertChoice::sum_of_fresh(const Counts& counts) const {
  const bool all = !any_fresh();
  LabelCount sum;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (!all && !fresh_[i]) continue;
    sum.right += counts[i].right;
    sum.unknown += counts[i].unknown;
  }
  return sum;
}

/// Whether new samples are read too badly to be of a kind that the expert knows.
bool ExpertChoice::is_strange(const LabelCount& count) const {
  std::size_t labels = 0;
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    if (fresh_[i]) labels += samples_[i].labels.size();
  }
  return any_fresh() &&
         count.right + count.unknown < kGoodFromTheStart * static_cast<double>(labels);
}

/// The new samples, and of those seen before the ones that no expert reads better; all where there
/// are none of these.
std::vector<char> ExpertChoice::best_read_by(const Counts& chosen,
                                             const std::vector<Counts>& counts) const {
  std::vector<char> flags = fresh_;
  for (std::size_t i = 0; i < flags.size(); ++i) {
    const auto better = [&](const Counts& other) { return other[i].worth() > chosen[i].worth(); };
    if (!flags[i]) flags[i] = std::none_of(counts.begin(), counts.end(), better);
  }
  const bool none = std::find(flags.begin(), flags.end(), 1) == flags.end();
  return none ? std::vector<char>(flags.size(), 1) : flags;
}

}  // namespace telvar::ocr
