#pragma once

#include "core/random.h"
#include "core/raster.h"

namespace telvar::ocr {

/// What differs from one picture of a marking to the next, each at random: stroke width, worn
/// spots, what is printed or reflected behind (edges, spots, streaks), focus, uneven light, sensor
/// noise. Gray raster at reading scale.
void augment(core::Raster& raster, core::Random& random);

}  // namespace telvar::ocr
