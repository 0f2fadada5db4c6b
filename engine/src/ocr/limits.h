#pragma once

// What the reader accepts and keeps.

#include "core/regions.h"
#include "ocr/reading_scale.h"

namespace telvar::ocr {

/// Images and regions. Smaller ones than 4 x 4 pixels hold no character of the least size.
constexpr core::ImageLimits kImageLimits{4, 32768, std::uint64_t{1} << 28};

/// Categories, and bytes of a category's identifier.
constexpr int kMaxCategories = 1000;
constexpr int kMaxCategoryBytes = 256;

/// What is kept of the training images, so that a later training without them forgets little: at
/// most so many cut-outs of about 6 x 2.5 characters each, in prepared pixels.
constexpr int kMaxExemplars = 96;
constexpr int kExemplarWidth = 6 * kPreparedCharacter;
constexpr int kExemplarHeight = kPreparedCharacter * 5 / 2;

}  // namespace telvar::ocr
