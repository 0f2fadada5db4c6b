#include "parts/codecs/image_files.h"

#include <gmock/gmock.h>

#include "images/codecs/codecs.h"

namespace telvar_host {

cv::Mat pixels(int rows, int type, const std::vector<int>& values) {
  const int cols = static_cast<int>(values.size()) / rows / CV_MAT_CN(type);
  const cv::Mat flat(static_cast<int>(values.size()), 1, CV_32S, const_cast<int*>(values.data()));
  cv::Mat typed;
  flat.convertTo(typed, CV_MAT_DEPTH(type));
  return cv::Mat(rows, cols, type, typed.data).clone();
}

cv::Mat noise(int rows, int cols, int type) {
  cv::Mat image(rows, cols, type);
  cv::RNG(7).fill(image, cv::RNG::UNIFORM, 0, CV_MAT_DEPTH(type) == CV_8U ? 256 : 65536);
  return image;
}

cv::Mat smooth(int rows, int cols, int type) {
  cv::Mat image(rows, cols, type);
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < cols * image.channels(); ++x)
      image.ptr(y)[x] =
          static_cast<unsigned char>(40 + 3 * y + 2 * x % (3 * image.channels() + 60));
  }
  return image;
}

void expect_pixels(const std::string& bytes, const cv::Mat& expected, const std::string& what,
                   double tolerance) {
  SCOPED_TRACE(what);
  try {
    const cv::Mat image = decode_image(bytes);
    ASSERT_EQ(image.type(), expected.type());
    ASSERT_EQ(image.size(), expected.size());
    EXPECT_LE(cv::norm(image, expected, cv::NORM_INF), tolerance) << image << "\n" << expected;
  } catch (const std::exception& error) {
    FAIL() << error.what();
  }
}

std::string error_of(const std::string& bytes) {
  try {
    decode_image(bytes);
    return "no error";
  } catch (const ImageError& error) {
    return error.what();
  }
}

void expect_no_harm_in_cutting(const std::string& bytes) {
  const auto size = decode_image(bytes).size();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    try {
      EXPECT_EQ(decode_image(bytes.substr(0, length)).size(), size) << length;
    } catch (const ImageError& error) {
      EXPECT_STRNE(error.what(), "") << length;
    }
  }
}

std::string big_endian(std::uint32_t value, int count) {
  std::string bytes;
  for (int i = count - 1; i >= 0; --i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}

std::string little_endian(std::uint32_t value, int count) {
  const auto bytes = big_endian(value, count);
  return {bytes.rbegin(), bytes.rend()};
}

std::string bytes_of(const std::vector<int>& values) {
  return {values.begin(), values.end()};
}

}  // namespace telvar_host
