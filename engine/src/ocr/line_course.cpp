#include "ocr/line_course.h"

#include <algorithm>
#include <array>

namespace telvar::ocr {

double course_of(const std::vector<LinePoint>& points, const LineMembers& line, std::size_t nearest,
                 std::size_t skip) {
  const std::size_t wanted = kCoursePoints + (skip < line.size() ? 1 : 0);
  const std::size_t count = std::min(wanted, line.size());
  const std::size_t centred = nearest > count / 2 ? nearest - count / 2 : 0;
  const std::size_t begin = std::min(centred, line.size() - count);
  std::array<double, kCoursePoints + 1> across{};
  std::size_t known = 0;
  for (std::size_t i = begin; i < begin + count; ++i) {
    if (i != skip) across[known++] = points[line[i]].across;
  }
  std::sort(across.begin(), across.begin() + known);
  const double upper = across[known / 2];
  return known % 2 == 1 ? upper : 0.5 * (across[known / 2 - 1] + upper);
}

}  // namespace telvar::ocr
