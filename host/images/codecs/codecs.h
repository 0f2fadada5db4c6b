// Images as bytes and as pixels: PNG, JPEG, TIFF, WebP, BMP and PNM.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <stdexcept>
#include <string>

namespace telvar_host {

// Why bytes are no image, or an image cannot be encoded; `what()` continues a sentence that begins
// with the file's name, and holds the codec's own reason where it gives one.
class ImageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// How large an image may be. Its header is compared with it before pixels are decoded, which takes
// up to 8 bytes a pixel.
struct SizeLimit {
  std::uint64_t longest_side = 32768;
  std::uint64_t most_pixels = std::uint64_t{1} << 28;
};

// The pixels of a file whose first bytes say which format it is. 8 or 16 bit, 1, 3 (BGR) or 4
// (BGRA) channels; values as stored, palettes spread, orientation tags of JPEG and TIFF applied.
// The first image of several. Throws ImageError; may be called from several threads.
//
// Details by format:
//   PNG   gray with alpha becomes BGRA; a transparent gray value is not shown, transparent colours
//         make BGRA
//   JPEG  CMYK becomes BGR; refused where its end is missing
//   TIFF  9 to 15 bits become the upper ones of 16; of gray images only the first sample counts;
//         "white is zero" is turned round; CMYK becomes BGRA; 1, 2 and 4 bits, palettes, YCbCr and
//         Lab become 8 bit
//   WebP  animations are refused
//   BMP   gray palettes give 1 channel; fields of a pixel become the upper bits of 8; 4 channels
//         where there is a mask of alpha
//   PNM   P1 to P6; bitmaps give 0 and 255
cv::Mat decode_image(const std::string& bytes, const SizeLimit& limit = {});

// The same of a file, whose path begins the errors.
cv::Mat decode_file(const std::string& path);

// A PNG of 8 or 16 bit, 1, 3 or 4 channels, packed for speed. Throws ImageError.
std::string encode_png(const cv::Mat& image);

// A JPEG of 8 bit, 1 or 3 channels; `quality` is from 1 to 100. Throws ImageError.
std::string encode_jpeg(const cv::Mat& image, int quality);

}  // namespace telvar_host
