#pragma once

// Pixels of a checked image as floats; what the samplers read through.

#include "core/raster.h"
#include "telvar/image.h"

namespace telvar::core {

/// Converts `count` pixels of row `y` from column `x`: planes[c][0..count-1], values 0..1.
void convert_row(const types::ImageView& image, int y, int x, int count, Colour colour,
                 float* const* planes);

/// The rectangle of the image at (x, y), at its own size.
Raster crop(const types::ImageView& image, int x, int y, int width, int height, Colour colour);

}  // namespace telvar::core
