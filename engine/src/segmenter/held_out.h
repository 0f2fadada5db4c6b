#pragma once

// Which samples judge a training instead of teaching it.

#include <cstdint>
#include <vector>

#include "segmenter/preparation.h"

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

/// Bit c: the sample has pixels of category c.
std::uint64_t categories_in(const PreparedSample& sample);

/// How many samples each category occurs in.
std::vector<int> count_occurrences(const std::vector<PreparedSample>& samples, int categories);

}  // namespace telvar::segmenter
