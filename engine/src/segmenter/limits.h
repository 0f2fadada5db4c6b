#pragma once

// What the segmenter accepts and how much it keeps. docs/segmenter-artifact.md repeats the figures.

#include <cstdint>

#include "core/regions.h"

namespace telvar::segmenter {

/// Images and regions, in pixels.
constexpr core::ImageLimits kImageLimits{8, 32768, std::uint64_t{1} << 28};

/// Samples of one training. From an artifact a single new sample will do.
constexpr int kMinSamples = 3;
constexpr int kMaxSamples = 2000;

/// Categories of one model; the labels that a tile carries are one 64-bit set.
constexpr int kMaxCategories = 64;

/// Longest category name, in bytes.
constexpr std::uint32_t kMaxNameBytes = 4096;

/// A training image is kept as at most this many tiles of at most this side, in pixels.
constexpr int kTileSide = 512;
constexpr int kMaxTilesPerSample = 8;

}  // namespace telvar::segmenter
