// Grouping of points into lines: every index once, and the same lines whatever the order given.
// Input: height, then x and y of each point, as floats.
#include <algorithm>
#include <cmath>

#include "fuzz_input.h"
#include "telvar/exceptions.h"
#include "telvar/ocr.h"

using namespace telvar::fuzz;

namespace {

float take_float(Input& input) {
  const auto bits = input.number<std::uint32_t>();
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

using Lines = std::vector<std::vector<std::size_t>>;

void check_indexes(const Lines& lines, std::size_t count) {
  std::vector<bool> seen(count);
  std::size_t total = 0;
  for (const auto& line : lines) {
    require(!line.empty(), "no line is empty");
    for (const std::size_t index : line) {
      require(index < count && !seen[index], "an index comes back once");
      seen[index] = true;
      ++total;
    }
  }
  require(total == count, "every index comes back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const float height = take_float(input);
  std::vector<std::pair<float, float>> points;
  while (!input.empty()) {
    const float x = take_float(input);
    points.emplace_back(x, take_float(input));
  }
  try {
    const Lines lines = telvar::qv::ocr::sort_characters(points, height);
    check_indexes(lines, points.size());
    std::reverse(points.begin(), points.end());
    const Lines reversed = telvar::qv::ocr::sort_characters(points, height);
    require(lines.size() == reversed.size(), "the order of the points makes no other lines");
  } catch (const telvar::types::invalid_parameters&) {
    bool finite = std::isfinite(height) && height > 0;
    for (const auto& [x, y] : points) finite = finite && std::isfinite(x) && std::isfinite(y);
    require(!finite, "finite points are not refused");
  }
  return 0;
}
