#pragma once

// What is measured of the training images before anything is learned from them.

#include <vector>

#include "segmenter/network/input_planes.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// Mean and deviation of the tiles' luma, and whether any has colour.
InputSpec measure_input(const std::vector<const TrainingTile*>& tiles);

}  // namespace telvar::segmenter
