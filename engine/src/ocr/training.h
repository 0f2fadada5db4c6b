#pragma once

// Training from prepared samples: what happens between the data set and the artifact.
// expert_choice.h decides which expert learns, expert_training.h teaches it.

#include <optional>
#include <vector>

#include "core/training_pool.h"
#include "ocr/state.h"

namespace telvar::ocr {

struct TrainingOutcome {
  ReaderState state;
  std::vector<std::vector<float>> confidences;  // per sample, per label
  /// The share of labels read right on images that the network had not seen. Where no image was
  /// new, or there is only one: less than zero, and its size the share on the training images.
  float recognition_rate = 0;
};

/// `samples` have labels, at least one in all, of `categories` (ascending; those of `previous`
/// among them). Starts from `previous`, or from the built-in base. The same for any number of
/// threads. `most_stage_steps`: of each stage, so that a test is short; 0: as many as it needs.
TrainingOutcome train_reader(std::optional<ReaderState> previous,
                             const std::vector<std::string>& categories, const NominalSize& size,
                             std::vector<PreparedSample> samples, int most_stage_steps,
                             core::TrainingPool& pool);

}  // namespace telvar::ocr
