#pragma once

// What a training learns from and is judged by: its samples, and what an artifact remembers.

#include <string>
#include <vector>

#include "segmenter/context_training.h"
#include "segmenter/preparation.h"
#include "segmenter/state.h"

namespace telvar::segmenter {

/// Its tiles lie in the samples, so it is moved, never copied.
struct TrainingSet {
  TrainingSet() = default;
  TrainingSet(TrainingSet&&) = default;

  std::vector<std::string> categories;  // ascending
  std::vector<PreparedSample> samples;
  std::vector<bool> held_out;           // a flag a sample
  std::vector<TrainingTile> rehearsed;  // the artifact's exemplars
  ContextData context;                  // overviews of the samples, then of the exemplars
  Tiles all, taught, judging;           // of the samples
  bool few = false;                     // images, and nothing before them

  int count() const { return static_cast<int>(categories.size()); }
  const InputSpec& input() const { return context.spec; }
  /// Tiles of one sample, and those of all others.
  Tiles of_sample(std::size_t sample) const;
  Tiles without_sample(std::size_t sample) const;
};

/// `base`, if given, has some of the categories.
TrainingSet join_samples(const SegmenterState* base, const std::vector<std::string>& categories,
                         std::vector<PreparedSample> samples);

/// Where each category of `from` stands in `to`; both ascend.
std::vector<int> places_of(const std::vector<std::string>& from,
                           const std::vector<std::string>& to);

}  // namespace telvar::segmenter
