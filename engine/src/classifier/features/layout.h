#pragma once

// How the values of a sample's features are ordered: what describing a sample and transforming its
// image agree on.
//
// Artifacts hold coefficients for just these values: a change of them is a new version of the
// classifier's payload.

#include <algorithm>
#include <cmath>

#include "classifier/samples/preparation.h"

namespace telvar::classifier {

/// Bins over half a turn. Even, so that a quarter turn moves every bin onto another.
constexpr int kOrientations = 12;

struct Grid {
  int columns, rows;
};

/// As many places along the longer side of the canvas, and along the other in proportion.
inline Grid grid_along(const Canvas& canvas, int places, int fewest) {
  const double longest = std::max(canvas.width, canvas.height);
  return {std::max(fewest, static_cast<int>(std::lround(places * canvas.width / longest))),
          std::max(fewest, static_cast<int>(std::lround(places * canvas.height / longest)))};
}

/// Cells of the shape groups. The values: overlapping blocks of 2 x 2 cells, row by row; in each
/// its cells, row by row; in each its orientations.
inline Grid coarse_cells(const Canvas& canvas) {
  return grid_along(canvas, 4, 2);
}
inline Grid fine_cells(const Canvas& canvas) {
  return grid_along(canvas, 7, 2);
}

/// The pixel group: a plane a channel.
inline Grid coarse_pixels(const Canvas& canvas) {
  return grid_along(canvas, 14, 1);
}

/// The texture group: patterns of eight neighbours at each of these distances, then orientations,
/// then strengths.
constexpr int kPatternRadii[] = {1, 2};
constexpr int kStrengths = 8;  // of a twelfth of white each; the last takes all above

/// Bins of patterns with one run of brighter neighbours: by its length and the neighbour at which
/// it starts, counted from the right towards below; then none, all, and more than one run. Those of
/// length 0 stay empty.
constexpr int kPatterns = 8 * 8 + 3;
constexpr int run_pattern(int length, int start) {
  return 8 * length + start;
}
constexpr int kNoneBrighter = run_pattern(8, 0);
constexpr int kAllBrighter = run_pattern(8, 1);
constexpr int kSeveralRuns = run_pattern(8, 2);

/// The colour group: so many levels of each channel.
constexpr int kColourLevels = 4;
constexpr int kColours = kColourLevels * kColourLevels * kColourLevels;

}  // namespace telvar::classifier
