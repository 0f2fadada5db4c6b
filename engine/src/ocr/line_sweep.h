#pragma once

// The sweep that forms lines: points come from left to right, and each joins the line that runs
// nearest to it or begins a new one.

#include <cstddef>
#include <vector>

#include "ocr/line_course.h"

namespace telvar::ocr {

/// A line's points, as positions in the list of all points, in ascending `along`.
using LineMembers = std::vector<std::size_t>;

/// Lines from top to bottom, of points given in ascending `along` (ties: ascending `across`).
/// O(n log n): a point is compared with a bounded number of neighbouring lines.
std::vector<LineMembers> sweep_lines(const std::vector<LinePoint>& points);

/// The course of a line around its `nearest`-th member, from the members next to it; `skip` (a
/// position in `line`, or line.size()) is left out. Requires another member than `skip`.
LineCourse course_around(const std::vector<LinePoint>& points, const LineMembers& line,
                         std::size_t nearest, std::size_t skip);

}  // namespace telvar::ocr
