#pragma once

// What the kernel machine sees of a sample: gradient histograms, coarse pixels, texture, colour,
// and how filter responses vary together.

#include <vector>

#include "classifier/kernel/features.h"
#include "classifier/samples/preparation.h"

namespace telvar::classifier {

/// The features of one sample, empty but for the wanted groups; the colour group is empty for gray
/// canvases.
Features describe(const Sample& sample, const Canvas& canvas, const FeatureGroups& wanted);

}  // namespace telvar::classifier
