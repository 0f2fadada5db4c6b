#pragma once

#include "core/raster.h"

namespace telvar::ocr {

/// How far a normalised pixel looks around itself, in reading pixels: rasters that are to give the
/// same values as a larger one need this much margin.
constexpr int kContrastReach = 32;

/// Replaces gray values (0..1) by their deviation from the local mean in units of the local
/// standard deviation, both over about two and a half characters, so that neither illumination nor
/// contrast matters. Below a standard deviation of about one gray level of 255 the deviation is no
/// longer amplified: a clean background stays near 0.
/// Works on blocks of 4 x 4 pixels counted from the raster's corner.
void normalise_contrast(core::Raster& gray);

}  // namespace telvar::ocr
