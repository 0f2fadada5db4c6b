#pragma once

// The local course of a line of text.

#include <cstddef>
#include <vector>

#include "ocr/slant.h"

namespace telvar::ocr {

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

}  // namespace telvar::ocr
