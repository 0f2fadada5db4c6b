#pragma once

// Training from prepared samples: what happens between the data set and the artifact.
//
// A training learns in rounds on a part of the images, reads the rest after each, and stops when
// that no longer gets better. What it found without a label on the way is left out of the
// background, and the finish learns from all images. With few images, two halves take turns in
// being the rest, each read by a network that learned from the other, and the delivered network
// learns from all of them for a fixed time.

#include <optional>
#include <vector>

#include "core/worker_pool.h"
#include "ocr/reader_state.h"

namespace telvar::ocr {

/// Data sets with at least so many new images have every fourth of them held out; with fewer, but
/// two, each half is read by a network that has not seen it.
constexpr int kLeastHeldOutFrom = 8;

struct TrainingOutcome {
  ReaderState state;
  std::vector<std::vector<float>> confidences;  // per sample, per label
  /// The share of labels read right on images that the network had not seen. Where no image was
  /// new, or there is only one: less than zero, and its size the share on the training images.
  float reading_rate = 0;
};

/// `samples` have labels, at least one in all, of `categories` (ascending; those of `previous`
/// among them). Starts from `previous`, or from the built-in base. The same for any number of
/// threads. `most_steps`: of the whole training; 0: as many as it needs.
TrainingOutcome train_reader(std::optional<ReaderState> previous,
                             const std::vector<std::string>& categories, const NominalSize& size,
                             std::vector<PreparedSample> samples, int most_steps,
                             core::WorkerPool& pool);

}  // namespace telvar::ocr
