#pragma once

// What the reader accepts and keeps.

#include "core/regions.h"
#include "ocr/reading_scale.h"  // of the nominal size

namespace telvar::ocr {

/// Images and regions. Smaller ones than 4 x 4 pixels hold no character of the least size.
constexpr core::ImageLimits kImageLimits{4, 32768, std::uint64_t{1} << 28};

/// Categories, and bytes of a category's identifier.
constexpr int kMaxCategories = 1000;
constexpr int kMaxCategoryBytes = 256;

/// Fewer labels than this in all cannot be learned from.
constexpr std::size_t kMinLabels = 3;

/// Labels of one sample; more than characters find room in it.
constexpr std::uint32_t kMaxSampleLabels = 1u << 16;

/// Prepared pixels of one sample.
constexpr std::uint64_t kMaxPreparedPixels = std::uint64_t{1} << 26;

/// Reading pixels of one region: about 116,000 nominal characters.
constexpr std::uint64_t kMaxReadingPixels = std::uint64_t{1} << 26;

/// The most category scores that the votes for one region may have: 1 GiB of them. About 16
/// cells vote for a character, so that 1000 categories allow 17,000 characters; up to 60 allow
/// whatever there is.
constexpr std::uint64_t kMaxVoteScores = std::uint64_t{1} << 28;

/// Experts of one reader. Reading takes the time of them all.
constexpr int kMaxExperts = 4;

/// The most digests of images that a state holds; images beyond them count as not seen.
constexpr std::uint32_t kMaxSeen = 1u << 16;

/// What is kept of the training images, so that a later training without them forgets little: at
/// most so many cut-outs of about 6 x 2.5 characters each, in prepared pixels.
constexpr int kMaxExemplars = 96;
constexpr int kExemplarWidth = 6 * kPreparedCharacter;
constexpr int kExemplarHeight = kPreparedCharacter * 5 / 2;

}  // namespace telvar::ocr
