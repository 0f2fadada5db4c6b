#include "images/codecs/codecs.h"

#include <fstream>
#include <iterator>
#include <opencv2/core.hpp>

#include "images/codecs/decoders.h"

namespace telvar_host {
namespace {

struct Format {
  std::size_t at;
  std::string magic;
  cv::Mat (*decode)(const std::string& bytes, const SizeLimit& limit);
};

const Format kFormats[] = {
    {0, "\x89PNG\r\n\x1a\n", decode_png},
    {0, "\xFF\xD8", decode_jpeg},
    {0, std::string("II*\0", 4), decode_tiff},
    {0, std::string("MM\0*", 4), decode_tiff},
    {0, std::string("II+\0", 4), decode_tiff},  // with offsets of 64 bits
    {0, std::string("MM\0+", 4), decode_tiff},
    {8, "WEBP", decode_webp},
    {0, "BM", decode_bmp},
    {0, "P1", decode_pnm},
    {0, "P2", decode_pnm},
    {0, "P3", decode_pnm},
    {0, "P4", decode_pnm},
    {0, "P5", decode_pnm},
    {0, "P6", decode_pnm},
};

}  // namespace

cv::Mat decode_image(const std::string& bytes, const SizeLimit& limit) {
  for (const Format& format : kFormats) {
    if (bytes.size() > format.at &&
        bytes.compare(format.at, format.magic.size(), format.magic) == 0)
      return format.decode(bytes, limit);
  }
  throw ImageError("is no readable image");
}

cv::Mat decode_file(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) throw ImageError(path + " cannot be read");
  try {
    return decode_image(bytes);
  } catch (const ImageError& error) {
    throw ImageError(path + ": " + error.what());
  }
}

ImageError cannot_decode(const std::string& reason) {
  return ImageError("cannot be decoded: " + reason);
}

ImageError unsupported_pixels() {
  return ImageError(
      "has pixels of an unsupported type (8 or 16 bit with 1, 3 or 4 channels are read)");
}

cv::Mat new_image(std::uint64_t width, std::uint64_t height, int type, const SizeLimit& limit) {
  if (width == 0 || height == 0) throw cannot_decode("it has no pixels");
  if (width > limit.longest_side || height > limit.longest_side ||
      width * height > limit.most_pixels) {
    throw ImageError("is " + std::to_string(width) + " x " + std::to_string(height) +
                     " pixels; images have at most " + std::to_string(limit.longest_side) +
                     " a side and " + std::to_string(limit.most_pixels) + " in all");
  }
  return cv::Mat(static_cast<int>(height), static_cast<int>(width), type);
}

cv::Mat upright(const cv::Mat& image, int orientation) {
  // What cv::flip takes for orientations 2 to 4 and, once rows and columns are exchanged, 6 to 8.
  constexpr int kHorizontally = 1, kBoth = -1, kVertically = 0;
  cv::Mat turned = image;
  if (orientation >= 5 && orientation <= 8) cv::transpose(image, turned);
  if (orientation == 2 || orientation == 6) cv::flip(turned, turned, kHorizontally);
  if (orientation == 3 || orientation == 7) cv::flip(turned, turned, kBoth);
  if (orientation == 4 || orientation == 8) cv::flip(turned, turned, kVertically);
  return turned;
}

}  // namespace telvar_host
