#include "ocr/white_level.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace telvar::ocr {

float white_level(const types::ImageView& image) {
  const auto& [width, height, stride, channels, bits, order] = image.layout;
  if (bits != 16) return 1;
  const unsigned colours = std::min(channels, 3u);  // the fourth is opacity
  std::uint16_t largest = 1;
  for (unsigned y = 0; y < height; ++y) {
    const unsigned char* pixel = image.pixels + std::size_t{stride} * y;
    for (unsigned x = 0; x < width; ++x, pixel += std::size_t{2} * channels) {
      for (unsigned c = 0; c < colours; ++c) {
        std::uint16_t value;
        std::memcpy(&value, pixel + 2 * c, sizeof value);
        largest = std::max(largest, value);
      }
    }
  }
  return static_cast<float>(largest) / 65535;
}

}  // namespace telvar::ocr
