#pragma once

// What a sample's features become when its image is transformed: the same values in another order,
// so that a sample is described once however many transforms are compared.

#include <vector>

#include "classifier/kernel/features.h"
#include "classifier/samples/dihedral.h"
#include "classifier/samples/preparation.h"

namespace telvar::classifier {

/// The features' order under a transform, which fits the canvas.
FeatureOrder order_under(const Canvas& canvas, const DihedralTransform& transform);

/// The orders under several transforms.
std::vector<FeatureOrder> orders_under(const Canvas& canvas,
                                       const std::vector<DihedralTransform>& transforms);

}  // namespace telvar::classifier
