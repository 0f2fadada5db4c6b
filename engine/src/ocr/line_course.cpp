#include "ocr/line_course.h"

#include <algorithm>
#include <array>

namespace telvar::ocr {
namespace {

constexpr double kMaxSlope = 0.15;      // of a course against the common slant: 9 degrees
constexpr double kMinRun = 0.2;         // pairs nearer than this along the line tell no slope
constexpr double kExtrapolation = 2.0;  // heights beyond the last point
constexpr std::size_t kSlopePoints = 6;

/// The middle of the first `count` values, or the mean of the two middle ones; reorders them.
template <std::size_t N>
double median(std::array<double, N>& values, std::size_t count) {
  std::sort(values.begin(), values.begin() + count);
  const double upper = values[count / 2];
  return count % 2 == 1 ? upper : 0.5 * (values[count / 2 - 1] + upper);
}

double robust_slope(const LinePoint* points, std::size_t count) {
  std::array<double, kCoursePoints*(kCoursePoints - 1) / 2> slopes;
  std::size_t known = 0;
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = i + 1; j < count; ++j) {
      const double run = points[j].along - points[i].along;
      if (run >= kMinRun) slopes[known++] = (points[j].across - points[i].across) / run;
    }
  }
  return known < kSlopePoints ? 0.0 : std::clamp(median(slopes, known), -kMaxSlope, kMaxSlope);
}

}  // namespace

LineCourse::LineCourse(const LinePoint* points, std::size_t count)
    : slope_(count < kSlopePoints ? 0.0 : robust_slope(points, count)),
      origin_(points[0].along),
      first_(points[0].along),
      last_(points[count - 1].along) {
  std::array<double, kCoursePoints> offsets;
  for (std::size_t i = 0; i < count; ++i) {
    offsets[i] = points[i].across - slope_ * (points[i].along - origin_);
  }
  offset_ = median(offsets, count);
}

double LineCourse::at(double along) const {
  const double within = std::clamp(along, first_ - kExtrapolation, last_ + kExtrapolation);
  return offset_ + slope_ * (within - origin_);
}

}  // namespace telvar::ocr
