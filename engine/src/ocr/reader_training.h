#pragma once

// Training from prepared samples: what happens between the data set and the artifact.

#include <optional>
#include <vector>

#include "core/worker_pool.h"
#include "ocr/reader_state.h"

namespace telvar::ocr {

/// Data sets of at least so many labelled images have a quarter of them held back from the first
/// stage of the training, to be read by what it learned.
constexpr int kLeastHeldBackFrom = 8;

struct TrainingOutcome {
  ReaderState state;
  std::vector<std::vector<float>> confidences;  // per sample, per label
  /// Share of labels read right: of the images held back, by the network that had not seen them;
  /// of all, by the trained network, where none were.
  float reading_rate = 0;
};

/// Steps of a training from nothing on so many labels; going on takes a fifth.
int training_steps(std::size_t labels);

/// `samples` have labels, at least one in all, of `categories` (ascending; those of `previous`
/// among them). The same for any number of threads. `steps`: of a training from nothing.
TrainingOutcome train_reader(std::optional<ReaderState> previous,
                             const std::vector<std::string>& categories, const NominalSize& size,
                             std::vector<PreparedSample> samples, int steps,
                             core::WorkerPool& pool);

}  // namespace telvar::ocr
