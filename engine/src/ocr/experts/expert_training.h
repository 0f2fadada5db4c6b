#pragma once

// Teaches one expert.
//
// A training learns in rounds on a part of the images, reads the rest after each, and stops when
// that no longer gets better. What it found without a label on the way is no part of the
// background, and the finish learns from all images. With few images, two halves take turns in
// being the rest, each read by a network that learned from the other, and the delivered network
// learns from all of them for a fixed time.

#include <cstdint>
#include <optional>
#include <vector>

#include "core/training_pool.h"
#include "ocr/experts/expert.h"
#include "ocr/network/network_training.h"

namespace telvar::ocr {

/// Data sets with at least so many new images have every fourth of them held out; with fewer, but
/// two, each half is read by a network that has not seen it.
constexpr int kLeastHeldOutFrom = 8;

/// A network that reads this share of the new labels before it has learned from them is trusted:
/// what it reads where no label is, is taken for a character.
constexpr double kTrustedFromTheStart = 0.8;
/// A network that reads this share knows the kind of marking already, and learns at a gentle rate.
/// If it has learned from such images before and few come, as when readings are corrected one by
/// one, a touch-up is enough. Whole stages are better elsewhere: where the base alone read so well,
/// they took six styles from 97.3 to 98.5 % exact lines; where an expert of five images met twenty
/// more, three styles from 91.0 to 93.8 %.
constexpr double kGoodFromTheStart = 0.97;

struct ExpertTrainingPlan {
  std::vector<char> taught;  // per sample: whether to learn from it
  std::vector<char> fresh;   // per sample: taught, and seen by no network before
  bool is_resumed = false;   // the expert has learned from images before
  int most_stage_steps = 0;  // 0: as many as it needs
  std::uint64_t seed = 0;
};

/// Teaches an expert from prepared samples (labelled by the index among its categories; at least
/// one label is taught) and its own exemplars. The same for any number of threads.
class ExpertTraining {
 public:
  /// All must outlive this. `samples` get notes on what they show without a label.
  ExpertTraining(Expert& expert, std::vector<PreparedSample>& samples, core::TrainingPool& pool,
                 ExpertTrainingPlan plan);

  /// The first stage. Returns the share of labels read right on new images that the network which
  /// read them had not seen; less than zero where there were none.
  double explore();

  /// A network of the first stage, which has not seen all that is taught.
  const nn::Network& explored() const;

  /// Learns from these samples too.
  void also_teach(const std::vector<char>& samples);

  /// The last stage, which learns from everything; chooses new exemplars.
  void finish();

 private:
  using SampleRefs = std::vector<const PreparedSample*>;
  struct Score;
  /// How long to learn from few images.
  struct FewSteps {
    int of_fold;       // each fold's network
    int of_delivered;  // the network that is delivered
  };
  static const FewSteps kUsual, kTouchUp;

  bool is_few() const;
  SampleRefs all() const;
  SampleRefs without(const std::vector<char>& held) const;
  NetworkPlan stage(int steps, float uncertain_weight);
  Score evaluate_flagged(const nn::Network& net, const std::vector<char>& which);
  void settle_unlabelled();
  void forget_unlabelled();
  std::vector<char> every(int count, int first) const;
  void look_before();
  Score learn_holding_out();
  Score learn_folds();

  Expert& expert_;
  std::vector<PreparedSample>& samples_;
  core::TrainingPool& pool_;
  ExpertTrainingPlan plan_;
  std::vector<std::size_t> fresh_;
  FewSteps few_steps_ = kUsual;
  bool is_read_well_ = false;  // what is new, before anything was learned of it
  int finish_steps_ = 0;
  std::optional<nn::Network> of_fold_;
  std::uint64_t stages_ = 0;
};

}  // namespace telvar::ocr
