#pragma once

// What the kernel machine sees of a sample: gradient histograms, coarse pixels, texture, colour.

#include <vector>

#include "classifier/kernel/features.h"
#include "classifier/samples/preparation.h"

namespace telvar::classifier {

/// The features of one sample; the colour group is empty for gray canvases.
Features describe(const Sample& sample, const Canvas& canvas);

}  // namespace telvar::classifier
