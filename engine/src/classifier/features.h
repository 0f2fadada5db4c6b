#pragma once

// What the kernel machine sees of a sample: gradient histograms, coarse pixels, texture, colour.

#include <vector>

#include "classifier/canvas.h"

namespace telvar::classifier {

enum class FeatureGroup { kCoarseShape, kFineShape, kPixels, kTexture, kColour };
constexpr int kFeatureGroups = 5;

/// The features of one sample, a vector per group; kColour is empty for gray canvases.
using Features = std::vector<std::vector<float>>;

Features describe(const Sample& sample, const Canvas& canvas);

}  // namespace telvar::classifier
