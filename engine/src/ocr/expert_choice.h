#pragma once

// Which expert of a reader learns from new images, and which ones a new expert makes superfluous.

#include <vector>

#include "core/random.h"
#include "core/training_pool.h"
#include "ocr/experts/expert.h"
#include "ocr/experts/expert_inference.h"

namespace telvar::ocr {

/// The expert that is to learn.
struct ChosenExpert {
  Expert expert;
  bool is_new = false;       // it has learned nothing yet but what its network knows
  std::vector<char> taught;  // per sample: whether it learns from it
};

class ExpertChoice {
 public:
  /// All must outlive this. `samples` are labelled by the index among `categories`, which hold
  /// those of every expert; `fresh` flags the samples that no training has seen before.
  ExpertChoice(const std::vector<std::string>& categories,
               const std::vector<PreparedSample>& samples, const std::vector<char>& fresh,
               core::TrainingPool& pool, core::Random& random);

  /// The expert that reads the new images best, taken out of `experts`, if it reads them well;
  /// otherwise a new one, which starts from it or from the built-in base, whichever reads them
  /// better. Where there are as many experts as there may be, the best one learns in any case: with
  /// the base's weights in place of its own where these read the new images better, so that its
  /// exemplars alone tell it what it knew.
  ChosenExpert choose(std::vector<Expert>& experts);

  /// Removes the experts whose marks `net`, which a new expert has learned on a part of its
  /// samples, reads as well as its own, of which it reads the share `own_rate`; the new expert gets
  /// their exemplars. Returns whether there were any.
  bool take_over(std::vector<Expert>& experts, Expert& newcomer, const nn::Network& net,
                 double own_rate);

 private:
  /// How the labels of a sample are read.
  struct LabelCount {
    int right = 0;    // as what they are
    int unknown = 0;  // of categories that the expert does not know: as any character
    double worth() const;
  };
  using Counts = std::vector<LabelCount>;  // per sample

  Expert make_new(nn::Network net) const;
  nn::Network base_network();
  LabelCount count_labels(const Expert& expert, const ExpertInference& inference,
                          const PreparedSample& sample) const;
  Counts count_all(const Expert& expert) const;
  bool any_fresh() const;
  LabelCount sum_of_fresh(const Counts& counts) const;
  bool is_strange(const LabelCount& count) const;
  std::vector<char> best_read_by(const Counts& chosen, const std::vector<Counts>& counts) const;
  bool reads_as_well(const Expert& newcomer, const Expert& other, const Expert& other_extended,
                     double own_rate) const;

  const std::vector<std::string>& categories_;
  const std::vector<PreparedSample>& samples_;
  const std::vector<char>& fresh_;
  core::TrainingPool& pool_;
  core::Random& random_;
};

}  // namespace telvar::ocr
