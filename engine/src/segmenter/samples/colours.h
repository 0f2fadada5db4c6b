#pragma once

// Colours that were not seen: what few images show in one colour, the next may show in another.

#include <vector>

#include "core/random.h"

namespace telvar::segmenter {

/// Turns the hues of a third of the crops by any angle and takes colour from a fifth. `pixels`:
/// planes of red, green and blue, 0..1; of another number of planes nothing is changed.
void vary_colours(std::vector<float>& pixels, std::size_t area, core::Random& random);

}  // namespace telvar::segmenter
