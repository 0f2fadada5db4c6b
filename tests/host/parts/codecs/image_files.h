// What the tests of the image formats share: pixels, bytes, and what is expected of a decoder.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace telvar_host {

// A matrix of values as they are listed.
cv::Mat pixels(int rows, int type, const std::vector<int>& values);
cv::Mat noise(int rows, int cols, int type);
// What lossy formats keep.
cv::Mat smooth(int rows, int cols, int type);

std::string bytes_of(const std::vector<int>& values);
// The `count` lowest bytes, the highest first.
std::string big_endian(std::uint32_t value, int count);
std::string little_endian(std::uint32_t value, int count);

void expect_pixels(const std::string& bytes, const cv::Mat& expected, const std::string& what,
                   double tolerance = 0);
// Whatever is missing at its end: the reason, or as many pixels as ever.
void expect_no_harm_in_cutting(const std::string& bytes);
// Why `bytes` are no image; "no error" if they are one.
std::string error_of(const std::string& bytes);

}  // namespace telvar_host
