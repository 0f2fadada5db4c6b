// The decoder of each format, and what they share. Each takes the bytes of a file whose first ones
// are its format's.
#pragma once

#include "images/codecs/codecs.h"

namespace telvar_host {

cv::Mat decode_bmp(const std::string& bytes, const SizeLimit& limit);
cv::Mat decode_jpeg(const std::string& bytes, const SizeLimit& limit);
cv::Mat decode_png(const std::string& bytes, const SizeLimit& limit);
cv::Mat decode_pnm(const std::string& bytes, const SizeLimit& limit);
cv::Mat decode_tiff(const std::string& bytes, const SizeLimit& limit);
cv::Mat decode_webp(const std::string& bytes, const SizeLimit& limit);

// To be thrown.
ImageError cannot_decode(const std::string& reason);
ImageError unsupported_pixels();

// Pixels without values. Throws ImageError for a size of 0 or beyond the limit.
cv::Mat new_image(std::uint64_t width, std::uint64_t height, int type, const SizeLimit& limit);

// The upright image of one stored in orientation 1 to 8 (Exif 2.32, 4.6.4; TIFF 6.0, page 36);
// others are taken for 1.
cv::Mat upright(const cv::Mat& image, int orientation);

}  // namespace telvar_host
