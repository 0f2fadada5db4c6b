#pragma once

#include "core/random.h"
#include "core/raster.h"

namespace telvar::ocr {

/// Changes a gray raster, in reading pixels, as one image of a marking differs from the next:
/// stroke width, worn spots, what is printed or reflected behind (edges, spots, streaks), focus,
/// uneven light, sensor noise. Each comes by chance, so that about one raster in thirty stays as it
/// is.
void augment(core::Raster& raster, core::Random& random);

}  // namespace telvar::ocr
