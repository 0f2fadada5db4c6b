#pragma once

// Crops made of two: the next image may show the same things before something else.

#include "segmenter/samples/crop.h"

namespace telvar::segmenter {

/// Lays what is labelled in one crop over another of the same size, labels and all; nothing where
/// not the same categories are known in both.
void lay_over(const Crop& upper, Crop& lower);

}  // namespace telvar::segmenter
