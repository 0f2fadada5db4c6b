// JPEG: which pixels its kinds give, how tags turn it, and what a cut takes.

// Before jpeglib.h, which needs FILE and size_t.
#include <cstdio>

#include <gmock/gmock.h>
#include <jpeglib.h>

#include <cstdlib>
#include <functional>

#include "images/codecs/codecs.h"
#include "parts/codecs/image_files.h"

namespace telvar_host {
namespace {

// By libjpeg, set up as the caller wants it.
std::string jpeg(const cv::Mat& image, J_COLOR_SPACE space,
                 const std::function<void(jpeg_compress_struct&)>& set_up = nullptr) {
  jpeg_error_mgr errors;
  jpeg_compress_struct compress{};
  compress.err = jpeg_std_error(&errors);
  jpeg_create_compress(&compress);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&compress, &bytes, &size);
  compress.image_width = static_cast<JDIMENSION>(image.cols);
  compress.image_height = static_cast<JDIMENSION>(image.rows);
  compress.input_components = image.channels();
  compress.in_color_space = space;
  jpeg_set_defaults(&compress);
  jpeg_set_quality(&compress, 100, TRUE);
  if (set_up) set_up(compress);
  jpeg_start_compress(&compress, TRUE);
  for (int y = 0; y < image.rows; ++y) {
    auto* row = const_cast<unsigned char*>(image.ptr(y));
    jpeg_write_scanlines(&compress, &row, 1);
  }
  jpeg_finish_compress(&compress);
  std::string file(reinterpret_cast<char*>(bytes), size);
  jpeg_destroy_compress(&compress);
  std::free(bytes);
  return file;
}

// With a segment after the first two bytes.
std::string with_segment(std::string file, char marker, const std::string& data) {
  return file.insert(2, std::string{'\xFF', marker} +
                            big_endian(static_cast<std::uint32_t>(data.size() + 2), 2) + data);
}

std::string exif(int orientation, bool big) {
  const auto number = big ? big_endian : little_endian;
  return std::string("Exif\0\0", 6) + (big ? "MM" : "II") + number(42, 2) + number(8, 4) +
         number(1, 2) + number(0x112, 2) + number(3, 2) + number(1, 4) +
         number(static_cast<std::uint32_t>(orientation), 2) + number(0, 2) + number(0, 4);
}

TEST(ImageFormats, JpegOfEveryKind) {
  const cv::Mat gray = smooth(24, 31, CV_8UC1), colour = smooth(24, 31, CV_8UC3);
  const auto full = [](jpeg_compress_struct& compress) {  // colours in full resolution
    compress.comp_info[0].h_samp_factor = compress.comp_info[0].v_samp_factor = 1;
  };
  expect_pixels(jpeg(gray, JCS_GRAYSCALE), gray, "gray", 2);
  expect_pixels(jpeg(colour, JCS_EXT_BGR, full), colour, "colour", 4);
  expect_pixels(jpeg(colour, JCS_EXT_BGR, [&](auto& c) { full(c), jpeg_simple_progression(&c); }),
                colour, "progressive", 4);
  expect_pixels(jpeg(colour, JCS_EXT_BGR, [&](auto& c) { full(c), c.restart_interval = 2; }),
                colour, "restart markers", 4);
  expect_pixels(encode_jpeg(gray, 95), gray, "encoded gray", 6);
  EXPECT_EQ(decode_image(encode_jpeg(colour, 85)).type(), CV_8UC3);
  // As Adobe's programs store it, 255 is no ink: black takes from all.
  const cv::Mat ink(8, 8, CV_8UC4, cv::Scalar(200, 100, 50, 128));
  expect_pixels(jpeg(ink, JCS_CMYK), cv::Mat(8, 8, CV_8UC3, cv::Scalar(25, 50, 100)), "CMYK", 3);
  EXPECT_THROW(encode_jpeg(noise(4, 4, CV_16UC1), 85), ImageError);
}

TEST(ImageFormats, JpegIsTurnedAsItsTagSays) {
  const cv::Mat stored = smooth(16, 24, CV_8UC1);
  const auto file = jpeg(stored, JCS_GRAYSCALE);
  const cv::Mat plain = decode_image(file);
  cv::Mat turned[9];
  for (const int same : {0, 1}) turned[same] = plain;
  cv::flip(plain, turned[2], 1);
  cv::rotate(plain, turned[3], cv::ROTATE_180);
  cv::flip(plain, turned[4], 0);
  cv::transpose(plain, turned[5]);
  cv::rotate(plain, turned[6], cv::ROTATE_90_CLOCKWISE);
  cv::rotate(turned[5], turned[7], cv::ROTATE_180);
  cv::rotate(plain, turned[8], cv::ROTATE_90_COUNTERCLOCKWISE);
  for (int orientation = 0; orientation < 9; ++orientation) {
    for (const bool big : {false, true}) {
      const auto tagged = with_segment(file, '\xE1', exif(orientation, big));
      expect_pixels(tagged, turned[orientation], std::to_string(orientation));
      // Editors write a segment of their own before.
      expect_pixels(with_segment(tagged, '\xE1', "http://ns.adobe.com/xap/1.0/"),
                    turned[orientation], "after another segment");
    }
  }
  for (const std::string& damaged : {exif(6, true).substr(0, 12), std::string("Exif\0\0\xFF", 7)})
    expect_pixels(with_segment(file, '\xE1', damaged), plain, "damaged Exif");
}

TEST(ImageFormats, AThumbnailsEndIsNotTheImages) {
  const auto thumbnail = encode_jpeg(noise(16, 16, CV_8UC1), 85);
  const auto whole = with_segment(encode_jpeg(noise(64, 64, CV_8UC1), 85), '\xE1', thumbnail);
  EXPECT_EQ(decode_image(whole + std::string(100000, 'x')).size(), cv::Size(64, 64));
  EXPECT_EQ(error_of(whole.substr(0, whole.size() - 2)), "JPEG is cut off");
  EXPECT_EQ(error_of(whole.substr(0, 20 + thumbnail.size())), "JPEG is cut off");
  expect_no_harm_in_cutting(encode_jpeg(noise(16, 16, CV_8UC3), 85) + "\xFF\xD9");
}

}  // namespace
}  // namespace telvar_host
