// Reading and writing files of images.
#pragma once

#include <filesystem>
#include <opencv2/core/mat.hpp>
#include <string>

namespace telvar_host {

// Whether the name ends like an image this program reads: PNG, JPEG, TIFF, BMP, WebP,
// PNM (any case).
bool has_image_name(const std::filesystem::path& path);
// The same for kinds that it does not read in data sets: GIF, HEIF, JPEG XL, ...
bool has_foreign_image_name(const std::filesystem::path& path);

// Whether the name ends like a JPEG's, which keeps pixels only about as they were.
bool has_jpeg_name(const std::filesystem::path& path);

// Pixels as stored: 8 or 16 bit, 1, 3 (BGR) or 4 (BGRA) channels. JPEG orientation tags are
// applied. Throws data_error naming the file: unreadable, no file, cut off, larger than any tool
// takes (32768 a side, 2^28 in all; known before it is decoded), or of another pixel type.
cv::Mat read_image(const std::filesystem::path& path);
// The same of a file's bytes; `path` is for errors.
cv::Mat decoded_image(const std::string& bytes, const std::filesystem::path& path);

// Encoded bytes; `extension` is ".png" or ".jpg".
std::string encoded(const cv::Mat& image, const std::string& extension);

// 8-bit BGR for looking at: 16-bit values are scaled down, gray is spread, alpha is dropped.
cv::Mat displayable(const cv::Mat& image);

}  // namespace telvar_host
