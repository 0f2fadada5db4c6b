#pragma once

// Groups character centres into lines of text. One grouping serves both the reader and
// `sort_characters`.
//
// The steps, all lengths in nominal character heights:
//   1. the slant that all lines share is taken out, then what they share beyond it, such as the bow
//      of a label on a bottle (slant.h);
//   2. a sweep along the reading direction, in which each point joins the line that runs nearest or
//      begins a new one (line_sweep.h);
//   3. a look back: marks join the line they stand in, parts of a line become one, and points
//      change to a line that, now known on both sides, runs nearer.
// The cost is O(n log n) for any input.

#include <cstddef>
#include <utility>
#include <vector>

namespace telvar::text {

/// How far, in heights, a point may lie from the course of a line that it joins. Full stops and
/// apostrophes stand at 0.4 to 0.5 of a character from the middle; lines at 1.1 and more.
constexpr double kLineTolerance = 0.6;

/// How far, in heights, a group of one or two marks may lie from the line that takes it in.
constexpr double kMarkTolerance = 0.75;

/// Points (x, y), y downwards, to lines of indexes: lines top to bottom, the points of a line left
/// to right along its slant, ties by index. Every index comes back exactly once; the grouping does
/// not depend on the order of the points. `height`: nominal character height, in the points' unit.
/// Requires finite points and a finite, positive height.
std::vector<std::vector<std::size_t>> group_into_lines(
    const std::vector<std::pair<float, float>>& points, float height);

}  // namespace telvar::text
