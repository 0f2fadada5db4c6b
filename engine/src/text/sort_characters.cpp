#include <cmath>
#include <string>

#include "telvar/exceptions.h"
#include "telvar/ocr.h"
#include "telvar_numeric/default_mode.h"
#include "text/lines.h"

namespace telvar::qv::ocr {

std::vector<std::vector<std::size_t>> sort_characters(
    const std::vector<std::pair<float, float>>& points, float height) {
  const numeric::DefaultMode mode;
  if (!std::isfinite(height) || height <= 0) {
    throw types::invalid_parameters(
        "sort_characters: the character height must be finite and positive");
  }
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!std::isfinite(points[i].first) || !std::isfinite(points[i].second)) {
      throw types::invalid_parameters("sort_characters: point " + std::to_string(i) +
                                      " is not finite");
    }
  }
  return telvar::text::group_into_lines(points, height);
}

}  // namespace telvar::qv::ocr
