#pragma once

// Generated sets in which what a pixel belongs to depends on things more than 60 pixels away.

#include "datasets.h"

namespace telvar::bench {

/// One or two sheets as gray and as rough as the table under them, 384 x 288: a thin outline gives
/// them away. Open lines and brackets of the same kind lie about.
ImageSet make_sheets(int train, int test, std::uint64_t seed);

/// Discs and rings of the same gray, 384 x 288; "large" (radius above 55) and "small" (below 40).
ImageSet make_sizes(int train, int test, std::uint64_t seed);

/// Two equal parts and a bright cross, 384 x 288: the part nearer to the cross is "near", the other
/// one "far".
ImageSet make_neighbours(int train, int test, std::uint64_t seed);

/// A body with two equal organs, 320 x 320: the one in the head's half is "upper", the one below is
/// "lower"; "body" is all within the skin. The same shapes lie outside as well.
ImageSet make_organs(int train, int test, std::uint64_t seed);

/// Sections of a head, 320 x 288: a brain, the cerebellum behind and below it and the stem between
/// them, all as gray as each other and as unnamed tissue in face and neck, in a bright skull. What
/// is what shows in where it lies.
ImageSet make_slices(int train, int test, std::uint64_t seed);

/// Round cells of 60 to 80 pixels' radius, 384 x 288: "full" with a small nucleus, "empty" without.
ImageSet make_cells(int train, int test, std::uint64_t seed);

}  // namespace telvar::bench
