#pragma once

// The sweep that forms lines: points come from left to right, and each joins the line that runs
// nearest to it or begins a new one.

#include <cstddef>
#include <vector>

#include "ocr/line_course.h"

namespace telvar::ocr {

/// Lines from top to bottom, of points given in ascending `along` (ties: ascending `across`).
/// O(n log n): a point is compared with a bounded number of neighbouring lines.
std::vector<LineMembers> sweep_lines(const std::vector<LinePoint>& points);

}  // namespace telvar::ocr
