#pragma once

// The small labelled pieces that an artifact carries, so that a later training without the old
// images does not forget their categories.

#include <vector>

#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// The most exemplars of an artifact, and their longest side in pixels.
constexpr int kMaxExemplars = 64;
constexpr int kExemplarSide = 160;

/// Chooses pieces of `tiles` (in which exemplars of earlier trainings may be): the categories and
/// plain background take turns.
std::vector<TrainingTile> choose_exemplars(const std::vector<const TrainingTile*>& tiles,
                                           int categories);

}  // namespace telvar::segmenter
