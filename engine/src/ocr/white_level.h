#pragma once

#include "telvar/image.h"

namespace telvar::ocr {

/// The value that counts as white, 0..1 of what the type can hold: 1 for 8 bits; the largest value
/// of a 16-bit image, since cameras of 10 or 12 bits fill the lower part of its range only.
/// Of a checked image; one pass over its pixels.
float white_level(const types::ImageView& image);

}  // namespace telvar::ocr
