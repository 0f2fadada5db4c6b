#pragma once

// Generated tiles of land seen from above.

#include "datasets.h"

namespace telvar::bench {

/// Colour tiles of 320 x 320: "field" (striped or even crops, of any tint between straw and green),
/// "road" (curved, partly under trees) and "roof" (gabled, one half in the shade, beside roads),
/// among meadow, bare soil and trees that belong to nothing. Tiles differ in haze and light.
ImageSet make_tiles(int train, int test, std::uint64_t seed);

}  // namespace telvar::bench
