#pragma once

// Which samples judge a training instead of teaching it.

#include <cstdint>
#include <vector>

#include "segmenter/prepare.h"

namespace telvar::segmenter {

/// A fifth of the samples (1 to 10), chosen by a shuffle of fixed seed, so that every category that
/// occurs keeps at least one sample to learn from and, where possible, has one to be judged by.
/// Returns a flag a sample. Fewer than two samples: none is held out.
std::vector<bool> choose_held_out(const std::vector<PreparedSample>& samples, int categories);

/// Tiles to judge a training by, about two megapixels at most: of the samples held out, one of each
/// in turn; and where they show nothing of a category, one that does, even if it teaches. Where no
/// sample is held out, all tiles.
std::vector<const TrainingTile*> choose_judging(const std::vector<PreparedSample>& samples,
                                                const std::vector<bool>& held, int categories);

/// Of categories in few of the samples, those held out tell little: samples to judge them by
/// besides, one after the other, each by a network that has learned from the rest.
struct Rotation {
  std::vector<std::size_t> samples;  // none of them held out; at most two
  std::vector<int> categories;       // ascending
};
Rotation choose_rotation(const std::vector<PreparedSample>& samples, const std::vector<bool>& held,
                         int categories);

/// How many samples each category occurs in.
std::vector<int> count_occurrences(const std::vector<PreparedSample>& samples, int categories);

}  // namespace telvar::segmenter
