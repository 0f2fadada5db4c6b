#pragma once

// Generated sets of which little is shown: few images, or few that show the category.

#include "datasets.h"

namespace telvar::bench {

/// `train` images of which three show a crack, and as many to test, half of them with one; 256 x
/// 256.
ImageSet make_rare(int train, int test, std::uint64_t seed);

/// Coins of varied brightness and pattern on a speckled table among square sweets, 320 x 240.
ImageSet make_coins(int train, int test, std::uint64_t seed);

}  // namespace telvar::bench
