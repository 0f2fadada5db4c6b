#pragma once

// What the kernel machine takes in: numbers in groups, and the orders in which it may see them.

#include <bitset>
#include <vector>

namespace telvar::classifier {

enum FeatureGroup { kCoarseShape, kFineShape, kPixels, kTexture, kColour, kCovariance };
constexpr int kFeatureGroups = 6;

using FeatureGroups = std::bitset<kFeatureGroups>;
constexpr FeatureGroups kEveryGroup((1u << kFeatureGroups) - 1);

/// The features of one sample, a vector per group; a group may be empty, but then for all samples.
using Features = std::vector<std::vector<float>>;

/// For every feature group: value i in this order is value order[i] of the sample itself.
using FeatureOrder = std::vector<std::vector<int>>;

}  // namespace telvar::classifier
