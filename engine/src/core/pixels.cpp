#include "core/pixels.h"

#include <cstdint>
#include <cstring>

namespace telvar::core {
namespace {

template <class Value>
float value_at(const unsigned char* row, std::size_t index) {
  Value value;  // copied: rows of 16-bit images need not be aligned
  std::memcpy(&value, row + index * sizeof(Value), sizeof(Value));
  return value;
}

template <class Value>
void convert(const unsigned char* row, unsigned channels, bool blue_first, int count, Colour colour,
             float* const* planes) {
  constexpr float scale = 1.0f / static_cast<float>(static_cast<Value>(-1));
  if (channels == 1) {
    for (int i = 0; i < count; ++i) planes[0][i] = value_at<Value>(row, i) * scale;
    for (int c = 1; c < channel_count(colour); ++c) {
      std::memcpy(planes[c], planes[0], sizeof(float) * count);
    }
    return;
  }
  const int red = blue_first ? 2 : 0, blue = blue_first ? 0 : 2;
  for (int i = 0; i < count; ++i) {
    const std::size_t at = static_cast<std::size_t>(i) * channels;
    const float r = value_at<Value>(row, at + red) * scale;
    const float g = value_at<Value>(row, at + 1) * scale;
    const float b = value_at<Value>(row, at + blue) * scale;
    if (colour == Colour::kGray) {
      planes[0][i] = luma(r, g, b);
    } else {
      planes[0][i] = r;
      planes[1][i] = g;
      planes[2][i] = b;
    }
  }
}

}  // namespace

void convert_row(const types::ImageView& image, int y, int x, int count, Colour colour,
                 float* const* planes) {
  const auto [width, height, stride, channels, bits, order] = image.layout;
  const unsigned char* row = image.pixels + static_cast<std::size_t>(y) * stride +
                             static_cast<std::size_t>(x) * channels * (bits / 8);
  const bool blue_first = order == 1 || order == 3;
  if (bits == 8) {
    convert<std::uint8_t>(row, channels, blue_first, count, colour, planes);
  } else {
    convert<std::uint16_t>(row, channels, blue_first, count, colour, planes);
  }
}

Raster crop(const types::ImageView& image, int x, int y, int width, int height, Colour colour) {
  Raster raster(width, height, channel_count(colour));
  for (int row = 0; row < height; ++row) {
    float* planes[3] = {};
    for (int c = 0; c < raster.channels; ++c) {
      planes[c] = raster.plane(c) + static_cast<std::size_t>(row) * width;
    }
    convert_row(image, y + row, x, width, colour, planes);
  }
  return raster;
}

}  // namespace telvar::core
