#pragma once

// What a sample's features become when it is seen in another view: the same values in another
// order, so that a sample is described once however many views are compared.

#include <vector>

#include "classifier/canvas.h"

namespace telvar::classifier {

/// For every feature group: value i of the view is value order[i] of the sample itself.
using FeatureOrder = std::vector<std::vector<int>>;

/// The order for a view as numbered in symmetry.h.
FeatureOrder order_in_view(const Canvas& canvas, int view);

/// The orders for several views.
std::vector<FeatureOrder> orders_in_views(const Canvas& canvas, const std::vector<int>& views);

}  // namespace telvar::classifier
