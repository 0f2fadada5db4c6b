#pragma once

// Pixels out of images. Every function takes an image that `check_image` has passed, and a region
// that `resolve_region` has returned. Output pixel (x, y) of an out_width x out_height raster lies
// at region position ((x + 0.5) * region.width / out_width - 0.5, likewise y).

#include "core/raster.h"
#include "core/regions.h"

namespace telvar::core {

/// Samples a region bilinearly; edge pixels repeat. When the output is coarser than the image, an
/// output pixel is the mean of evenly spread bilinear samples, so that nothing aliases. Colour to
/// gray by `luma`; alpha is ignored; gray to colour repeats the plane.
Raster sample(const types::ImageView& image, const Region& region, int out_width, int out_height,
              Colour colour);

/// The region at its own size.
Raster sample(const types::ImageView& image, const Region& region, Colour colour);

/// Takes the nearest pixel: 1 where any of its channels but alpha is not 0, and 0 outside the
/// image.
Mask sample_mask(const types::ImageView& image, const Region& region, int out_width,
                 int out_height);

/// Samples a raster through `to_source` (output pixel to source pixel, centres at integers),
/// bilinearly, edge pixels repeat, without anti-aliasing. For augmentation.
Raster warp(const Raster& source, const types::AffineTransform& to_source, int out_width,
            int out_height);

/// `warp` for masks: nearest pixel, outside 0.
Mask warp(const Mask& source, const types::AffineTransform& to_source, int out_width,
          int out_height);

/// One plane of luma; a gray raster as it is.
Raster to_gray(const Raster& source);

/// Another size, anti-aliased like `sample`.
Raster resize(const Raster& source, int out_width, int out_height);

}  // namespace telvar::core
