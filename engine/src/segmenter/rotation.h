#pragma once

// Judges rare categories by rotation: each of a few samples by a network that has learned from all
// the others.

#include <vector>

#include "segmenter/fine_training.h"

namespace telvar::segmenter {

/// Held-out samples tell little of categories that few samples show. So further samples are judged
/// as well, one after the other, each by a network that has learned from the rest.
struct Rotation {
  std::vector<std::size_t> samples;  // none of them held out; at most two
  std::vector<int> categories;       // ascending
  std::vector<int> judged;           // by how many samples each of them is, then, in all
};
Rotation choose_rotation(const std::vector<PreparedSample>& samples, const std::vector<bool>& held,
                         int categories);

/// The steps that the rotation takes after so many rounds of the training.
int rotation_steps(const Rotation& rotation, const Effort& effort, int rounds);

/// Adds to `overlaps`, a category each, what networks that begin with `start` find of the rare
/// categories. `delivered`: the network that they stand for, after `rounds` rounds.
void judge_by_rotation(const TrainingTask& task, const Rotation& rotation, const nn::Network& start,
                       const Networks& delivered, int rounds, std::vector<Overlap>& overlaps);

/// The overlap as if one sample more had been judged by half, and been found at 0.5: a few samples
/// of a rare thing hardly hold its faintest case.
Overlap doubted(Overlap overlap, int judged);

}  // namespace telvar::segmenter
