#include "segmenter/network/mirrors.h"

#include <algorithm>
#include <cstddef>

namespace telvar::segmenter {
namespace {

void mirror_columns(std::vector<float>& planes, int width) {
  for (auto row = planes.begin(); row != planes.end(); row += width) {
    std::reverse(row, row + width);
  }
}

void mirror_rows(std::vector<float>& planes, int width, int height) {
  const std::ptrdiff_t area = std::ptrdiff_t{width} * height;
  for (auto plane = planes.begin(); plane != planes.end(); plane += area) {
    for (int y = 0; y < height / 2; ++y) {
      const auto row = plane + std::ptrdiff_t{y} * width;
      std::swap_ranges(row, row + width, plane + std::ptrdiff_t{height - 1 - y} * width);
    }
  }
}

}  // namespace

void for_mirrors(int count, std::vector<float>& planes, int width, int height,
                 const std::function<void(const Mirror&)>& work) {
  Mirror mirror;
  for (int i = 0; i < count; ++i) {
    if (i % 2 == 1) {
      mirror_columns(planes, width);
      mirror.columns = !mirror.columns;
    } else if (i > 0) {
      mirror_rows(planes, width, height);
      mirror.rows = !mirror.rows;
    }
    work(mirror);
  }
}

}  // namespace telvar::segmenter
