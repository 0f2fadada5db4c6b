#pragma once

// What the reader accepts.

#include "core/regions.h"

namespace telvar::ocr {

/// Images and regions. Smaller ones than 4 x 4 pixels hold no character of the least size.
constexpr core::ImageLimits kImageLimits{4, 32768, std::uint64_t{1} << 28};

/// Categories, and bytes of a category's identifier.
constexpr int kMaxCategories = 1000;
constexpr int kMaxCategoryBytes = 256;

}  // namespace telvar::ocr
