#pragma once

// The sweep that forms lines: points come from left to right, and each joins the line that runs
// nearest to it or begins a new one. Where a line runs at a place is its local course.

#include <cstddef>
#include <vector>

#include "text/slant.h"

namespace telvar::text {

/// A line's points, as positions in the list of all points, in ascending `along`.
using LineMembers = std::vector<std::size_t>;

/// At most this many neighbouring points make a course: enough that a full stop and an apostrophe
/// among them do not bend it.
constexpr std::size_t kCoursePoints = 9;

/// Where a line runs across the reading direction: the median of its points around its `nearest`-th
/// one. `skip` (a position in `line`, or line.size()) is left out. Requires another point than
/// that.
double course_of(const std::vector<LinePoint>& points, const LineMembers& line, std::size_t nearest,
                 std::size_t skip);

/// Lines from top to bottom, of points given in ascending `along` (ties: ascending `across`).
/// O(n log n): a point is compared with a bounded number of neighbouring lines.
std::vector<LineMembers> sweep_lines(const std::vector<LinePoint>& points);

}  // namespace telvar::text
