#pragma once

// The local course of a line of text: a straight piece fitted robustly to a few neighbouring
// points, so that a full stop or an apostrophe does not bend it.

#include <cstddef>

#include "ocr/slant.h"

namespace telvar::ocr {

/// At most this many points make a course.
constexpr std::size_t kCoursePoints = 9;

class LineCourse {
 public:
  LineCourse() = default;

  /// The median of the pairwise slopes (Theil 1950, Sen 1968), from six points on, and the median
  /// offset. Requires 1 <= count <= kCoursePoints and points in ascending `along`.
  LineCourse(const LinePoint* points, std::size_t count);

  /// `across` of the line at `along`; beyond its points the slope is followed for two heights only.
  double at(double along) const;

 private:
  double slope_ = 0;
  double offset_ = 0;  // of the line at origin_
  double origin_ = 0;
  double first_ = 0;
  double last_ = 0;
};

}  // namespace telvar::ocr
