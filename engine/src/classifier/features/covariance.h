#pragma once

// How the responses of a small filter bank vary together over an image: what a texture is beyond
// shares of patterns, and how the strokes of a shape meet.

#include <vector>

#include "classifier/samples/dihedral.h"
#include "core/raster.h"

namespace telvar::classifier {

/// The matrix logarithm of the responses' covariance (Tuzel et al., 2006; Arsigny et al., 2006), of
/// its upper triangle row by row. `gray` has one plane of values 0..1.
std::vector<float> covariance_of(const core::Raster& gray);

/// Where the transformed image's values stand among those of the image itself.
std::vector<int> covariance_order(const DihedralTransform& transform);

}  // namespace telvar::classifier
