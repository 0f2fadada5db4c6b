#pragma once

// The pixel arrays that the engine computes on.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace telvar::core {

/// Which channels a raster carries.
enum class Colour { kGray, kRgb };

/// The number of planes of `colour`: 1 or 3.
constexpr int channel_count(Colour colour) {
  return colour == Colour::kGray ? 1 : 3;
}

/// By the weights of ITU-R BT.601.
template <class Number>
constexpr Number luma(Number red, Number green, Number blue) {
  return static_cast<Number>(0.299) * red + static_cast<Number>(0.587) * green +
         static_cast<Number>(0.114) * blue;
}

/// Planar pixels, values 0..1, channels x height x width (red, green, blue when colour).
struct Raster {
  Raster() = default;
  Raster(int width_, int height_, int channels_)
      : width(width_),
        height(height_),
        channels(channels_),
        values(static_cast<std::size_t>(width_) * height_ * channels_) {}

  std::size_t plane_size() const { return static_cast<std::size_t>(width) * height; }
  float* plane(int channel) { return values.data() + plane_size() * channel; }
  const float* plane(int channel) const { return values.data() + plane_size() * channel; }
  float& at(int channel, int y, int x) { return plane(channel)[std::size_t(y) * width + x]; }
  float at(int channel, int y, int x) const { return plane(channel)[std::size_t(y) * width + x]; }

  int width = 0;
  int height = 0;
  int channels = 0;
  std::vector<float> values;
};

/// One byte a pixel, row by row; non-zero belongs.
struct Mask {
  Mask() = default;
  Mask(int width_, int height_)
      : width(width_), height(height_), values(static_cast<std::size_t>(width_) * height_) {}

  std::uint8_t& at(int y, int x) { return values[std::size_t(y) * width + x]; }
  std::uint8_t at(int y, int x) const { return values[std::size_t(y) * width + x]; }

  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> values;
};

}  // namespace telvar::core
