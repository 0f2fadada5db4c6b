#include "ocr/experts/exemplars.h"

#include <algorithm>
#include <optional>

#include "ocr/limits.h"

namespace telvar::ocr {
namespace {

struct Candidate {
  const PreparedSample* sample;
  PreparedLabel label;
};

/// Candidates not yet shown, by category, and how often each category is shown.
class Choice {
 public:
  Choice(const std::vector<Candidate>& candidates, int categories)
      : waiting_(categories), shown_(categories, 0) {
    for (const Candidate& candidate : candidates) of(waiting_, candidate).push_back(candidate);
  }

  /// One of the category shown least, the first of several; none when none waits.
  std::optional<Candidate> take() {
    std::vector<Candidate>* best = nullptr;
    int least = 0;
    for (std::size_t k = 0; k < waiting_.size(); ++k) {
      if (waiting_[k].empty() || (best != nullptr && shown_[k] >= least)) continue;
      best = &waiting_[k];
      least = shown_[k];
    }
    if (best == nullptr) return std::nullopt;
    const Candidate taken = best->back();
    best->pop_back();
    ++of(shown_, taken);
    return taken;
  }

  /// All that waits in the window comes along.
  void show(const PreparedSample* sample, const Window& window) {
    for (std::size_t k = 0; k < waiting_.size(); ++k) {
      auto& waiting = waiting_[k];
      const auto kept = std::remove_if(waiting.begin(), waiting.end(), [&](const Candidate& c) {
        return c.sample == sample && window.contains(c.label.x, c.label.y);
      });
      shown_[k] += static_cast<int>(waiting.end() - kept);
      waiting.erase(kept, waiting.end());
    }
  }

 private:
  template <class Value>
  static Value& of(std::vector<Value>& by_category, const Candidate& candidate) {
    return by_category[static_cast<std::size_t>(candidate.label.category)];
  }
  std::vector<std::vector<Candidate>> waiting_;
  std::vector<int> shown_;
};

}  // namespace

std::vector<PreparedSample> choose_exemplars(const std::vector<const PreparedSample*>& samples,
                                             int categories, core::Random& random) {
  std::vector<Candidate> candidates;
  for (const PreparedSample* sample : samples) {
    for (const PreparedLabel& label : sample->labels) candidates.push_back({sample, label});
  }
  random.shuffle(candidates);
  Choice choice(candidates, categories);
  std::vector<PreparedSample> exemplars;
  while (exemplars.size() < static_cast<std::size_t>(kMaxExemplars)) {
    const std::optional<Candidate> next = choice.take();
    if (!next) break;
    const PreparedSample* sample = next->sample;
    const Window window =
        window_around(*sample, next->label.x, next->label.y, kExemplarWidth, kExemplarHeight);
    exemplars.push_back(cut_out(*sample, window));
    choice.show(sample, window);
  }
  return exemplars;
}

}  // namespace telvar::ocr
