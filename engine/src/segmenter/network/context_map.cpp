#include "segmenter/network/context_map.h"

#include <algorithm>
#include <cmath>

namespace telvar::segmenter {
namespace {

/// Two neighbouring cells of an axis and the share of the second.
struct Between {
  std::size_t first, second;
  float share;
};

Between cells_around(float position, int pixels, int cells) {
  const float at =
      std::clamp((position + 0.5f) * static_cast<float>(cells) / static_cast<float>(pixels) - 0.5f,
                 0.0f, static_cast<float>(cells - 1));
  const auto first = static_cast<int>(at);
  return {static_cast<std::size_t>(first), static_cast<std::size_t>(std::min(first + 1, cells - 1)),
          at - static_cast<float>(first)};
}

}  // namespace

ContextMap::ContextMap(int width, int height, const std::vector<float>& probabilities)
    : width_(width), height_(height), values_(probabilities.size()) {
  std::transform(probabilities.begin(), probabilities.end(), values_.begin(), [](float p) {
    // In this order, what is no number (extreme weights overflow) becomes 0.
    return static_cast<std::uint8_t>(std::min(std::max(0.0f, p), 1.0f) * 255.0f + 0.5f);
  });
}

void ContextMap::sample(const PlaceInRegion& place, float x, float y, std::size_t stride,
                        float* out) const {
  const Between column = cells_around(x, place.width, width_);
  const Between row = cells_around(y, place.height, height_);
  const std::size_t area = std::size_t(width_) * height_;
  const std::uint8_t* plane = values_.data();
  const std::uint8_t* const end = plane + values_.size();
  for (; plane != end; plane += area, out += stride) {
    const std::uint8_t* const above = plane + row.first * width_;
    const std::uint8_t* const below = plane + row.second * width_;
    const float top = above[column.first] +
                      column.share * static_cast<float>(above[column.second] - above[column.first]);
    const float bottom =
        below[column.first] +
        column.share * static_cast<float>(below[column.second] - below[column.first]);
    *out = (top + row.share * (bottom - top)) * (2.0f / 255) - 1;
  }
}

void fill_context_planes(const ContextMap& map, const PlaceInRegion& place, int categories,
                         int width, int height, float* out) {
  if (categories == 0) return;
  const std::size_t area = std::size_t(width) * height;
  if (map.empty()) {
    std::fill_n(out, area * categories, 0.0f);
    return;
  }
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      map.sample(place, static_cast<float>(place.x + x), static_cast<float>(place.y + y), area,
                 out + std::size_t(y) * width + x);
    }
  }
}

}  // namespace telvar::segmenter
