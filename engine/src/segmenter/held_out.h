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

/// How many samples each category occurs in.
std::vector<int> count_occurrences(const std::vector<PreparedSample>& samples, int categories);

}  // namespace telvar::segmenter
