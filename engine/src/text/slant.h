#pragma once

// The common slant of lines of text, from character centres alone.

#include <vector>

namespace telvar::text {

/// A point in units of the nominal character height.
struct LinePoint {
  double along = 0;   ///< x, or the distance along the reading direction once turned
  double across = 0;  ///< y, or the distance across it
};

/// Slants are looked for up to this angle, in degrees; 15 and a margin.
constexpr double kMaxSlant = 18.0;

/// The angle, in radians, by which the lines run down (positive) or up, within kMaxSlant; 0 where
/// nothing speaks for another one. O(n log n).
double estimate_slant(const std::vector<LinePoint>& points);

/// Straightens what all lines have in common beyond one slant, such as the bow of a label on a
/// bottle: shifts points, given in ascending `along`, across the reading direction. O(n log n).
void remove_bow(std::vector<LinePoint>& points);

}  // namespace telvar::text
