#include "telvar/image.h"

#include <cstdint>
#include <string>

#include "telvar/exceptions.h"

namespace telvar::types {
namespace {

/// What a signed number of 32 bits can count, as hosts and files may keep it.
constexpr std::uint64_t kMaxImageBytes = 0x7FFFFFFF;

std::string describe(const ImageLayout& layout) {
  return std::to_string(layout[0]) + " x " + std::to_string(layout[1]) + " px, stride " +
         std::to_string(layout[2]) + " bytes, " + std::to_string(layout[3]) + " channels of " +
         std::to_string(layout[4]) + " bits";
}

/// The number of bytes that an image of this layout occupies; throws before anything is read.
std::size_t checked_bytes(const ImageLayout& layout, const unsigned char* pixels) {
  const auto [width, height, stride, channels, bits, order] = layout;
  if (width == 0 || height == 0) return 0;
  if (channels > 4 || bits > 16) {
    throw invalid_image("image of " + describe(layout) + ": at most 4 of 16 bits are possible");
  }
  const std::uint64_t row_bytes = (std::uint64_t{width} * channels * bits + 7) / 8;
  if (stride < row_bytes) {
    throw invalid_image("image of " + describe(layout) + ": a row takes " +
                        std::to_string(row_bytes) + " bytes, more than the stride");
  }
  const std::uint64_t bytes = std::uint64_t{stride} * height;
  if (bytes > kMaxImageBytes) {
    throw invalid_image_size("image of " + describe(layout) + ": " + std::to_string(bytes) +
                             " bytes, the limit is " + std::to_string(kMaxImageBytes));
  }
  if (pixels == nullptr) throw invalid_image("image of " + describe(layout) + " has no pixels");
  return static_cast<std::size_t>(bytes);
}

}  // namespace

Image::Image() = default;

Image::Image(unsigned width, unsigned height, unsigned stride, unsigned channels,
             unsigned bits_per_channel, unsigned channel_order, const unsigned char* data)
    : layout{width, height, stride, channels, bits_per_channel, channel_order} {
  const std::size_t bytes = checked_bytes(layout, data);
  if (bytes != 0) pixels.assign(data, data + bytes);
}

Image::Image(const Image&) = default;
Image::Image(Image&&) noexcept = default;
Image& Image::operator=(const Image&) = default;
Image& Image::operator=(Image&&) noexcept = default;
Image::~Image() = default;

ImageView::ImageView(unsigned width, unsigned height, unsigned stride, unsigned channels,
                     unsigned bits_per_channel, unsigned channel_order, const unsigned char* data)
    : layout{width, height, stride, channels, bits_per_channel, channel_order}, pixels(data) {}

ImageView::ImageView(const Image& image)
    : layout(image.layout), pixels(image.pixels.empty() ? nullptr : image.pixels.data()) {}

}  // namespace telvar::types
