#pragma once

// What the classifier accepts and keeps; docs/state-formats.md and docs/engine.md state the same.

#include <cstdint>

namespace telvar::classifier {

constexpr int kMinSamples = 5;  // in all, kept ones included
constexpr int kMinSamplesPerCategory = 2;
constexpr int kMinCategories = 2;
constexpr int kMaxCategories = 1000;
constexpr int kMaxSamples = 100000;
constexpr std::uint32_t kMaxIdentifier = 4096;  // bytes of a category identifier

constexpr int kNormalEffort = 10;
constexpr int kMinEffort = 1;
constexpr int kMaxEffort = 100;

// Samples kept in the artifact: so many, and more where each category would keep fewer than the
// least (20,000 of 1000 categories). The first of them are the kernel machine's landmarks.
constexpr int kMaxKept = 2000;
constexpr int kMinKeptPerCategory = 20;
constexpr int kMaxLandmarks = 2000;

constexpr int kMaxCanvasSide = 96;  // px
constexpr int kMinCanvasSide = 16;
constexpr int kMaxNets = 8;

// Beyond so many samples one network learns alone: cross-validation and the kernel machine, which
// lives off small sets, no longer pay.
constexpr int kLargeSet = 6000;

}  // namespace telvar::classifier
