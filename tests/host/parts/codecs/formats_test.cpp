// PNG, WebP, BMP and PNM: which pixels their kinds give; and the reasons of all formats. The files
// are made by the formats' own encoders, or byte by byte.
#include <gmock/gmock.h>
#include <webp/encode.h>
#include <zlib.h>

#include "app/errors.h"
#include "images/codecs/codecs.h"
#include "images/read_image.h"
#include "parts/codecs/image_files.h"

namespace telvar_host {
namespace {

using ::testing::HasSubstr;

// ---- PNG

std::string chunk(const std::string& name, const std::string& data) {
  const auto content = name + data;
  const auto sum =
      crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size()));
  return big_endian(static_cast<std::uint32_t>(data.size()), 4) + content +
         big_endian(static_cast<std::uint32_t>(sum), 4);
}

std::string deflated(const std::string& bytes) {
  auto size = compressBound(bytes.size());
  std::string packed(size, '\0');
  compress(reinterpret_cast<Bytef*>(packed.data()), &size,
           reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  packed.resize(size);
  return packed;
}

// `rows` as they are packed, each after a byte that names no filter.
std::string png(int width, int height, int depth, int kind, const std::string& rows,
                const std::string& before_pixels = "") {
  return "\x89PNG\r\n\x1a\n" +
         chunk("IHDR", big_endian(width, 4) + big_endian(height, 4) +
                           std::string{char(depth), char(kind), 0, 0, 0}) +
         before_pixels + chunk("IDAT", deflated(rows)) + chunk("IEND", "");
}

TEST(ImageFormats, PngOfEveryKind) {
  enum Kind { kGray = 0, kRgb = 2, kPalette = 3, kGrayAlpha = 4, kRgba = 6 };
  const auto palette = chunk("PLTE", bytes_of({1, 2, 3, 40, 50, 60}));
  const auto gamma = chunk("gAMA", big_endian(45455, 4));  // changes no value
  struct Case {
    const char* what;
    std::string file;
    cv::Mat expected;
  };
  const Case cases[] = {
      {"1 bit", png(2, 1, 1, kGray, bytes_of({0, 0x40})), pixels(1, CV_8UC1, {0, 255})},
      {"2 bits", png(2, 1, 2, kGray, bytes_of({0, 0x60})), pixels(1, CV_8UC1, {85, 170})},
      {"4 bits", png(2, 1, 4, kGray, bytes_of({0, 0x1E})), pixels(1, CV_8UC1, {17, 238})},
      {"gray", png(2, 1, 8, kGray, bytes_of({0, 7, 9}), gamma), pixels(1, CV_8UC1, {7, 9})},
      {"transparent gray",
       png(2, 1, 8, kGray, bytes_of({0, 7, 9}), chunk("tRNS", bytes_of({0, 7}))),
       pixels(1, CV_8UC1, {7, 9})},
      {"16 bits", png(2, 1, 16, kGray, bytes_of({0, 1, 2, 3, 4}), gamma),
       pixels(1, CV_16UC1, {0x102, 0x304})},
      {"gray, alpha", png(2, 1, 8, kGrayAlpha, bytes_of({0, 5, 6, 7, 8})),
       pixels(1, CV_8UC4, {5, 5, 5, 6, 7, 7, 7, 8})},
      {"RGB", png(2, 1, 8, kRgb, bytes_of({0, 1, 2, 3, 4, 5, 6})),
       pixels(1, CV_8UC3, {3, 2, 1, 6, 5, 4})},
      {"RGB, 16 bits", png(1, 1, 16, kRgb, bytes_of({0, 1, 2, 3, 4, 5, 6})),
       pixels(1, CV_16UC3, {0x506, 0x304, 0x102})},
      {"transparent RGB",
       png(2, 1, 8, kRgb, bytes_of({0, 1, 2, 3, 4, 5, 6}),
           chunk("tRNS", bytes_of({0, 4, 0, 5, 0, 6}))),
       pixels(1, CV_8UC4, {3, 2, 1, 255, 6, 5, 4, 0})},
      {"RGBA", png(1, 2, 8, kRgba, bytes_of({0, 1, 2, 3, 4, 0, 5, 6, 7, 8})),
       pixels(2, CV_8UC4, {3, 2, 1, 4, 7, 6, 5, 8})},
      {"RGBA, 16 bits", png(1, 1, 16, kRgba, bytes_of({0, 1, 2, 3, 4, 5, 6, 7, 8})),
       pixels(1, CV_16UC4, {0x506, 0x304, 0x102, 0x708})},
      {"palette", png(2, 1, 1, kPalette, bytes_of({0, 0x40}), palette),
       pixels(1, CV_8UC3, {3, 2, 1, 60, 50, 40})},
      {"transparent palette",
       png(2, 1, 8, kPalette, bytes_of({0, 0, 1}), palette + chunk("tRNS", bytes_of({9}))),
       pixels(1, CV_8UC4, {3, 2, 1, 9, 60, 50, 40, 255})},
  };
  for (const auto& [what, file, expected] : cases) expect_pixels(file, expected, what);
}

TEST(ImageFormats, PngThatIsEncodedComesBack) {
  for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3, CV_16UC4}) {
    const cv::Mat image = noise(9, 13, type);
    expect_pixels(encode_png(image), image, std::to_string(type));
    // Rows with a gap between.
    expect_pixels(encode_png(image.colRange(2, 7)), image.colRange(2, 7), std::to_string(type));
  }
  expect_no_harm_in_cutting(encode_png(noise(9, 13, CV_8UC3)));
  EXPECT_THROW(encode_png(noise(9, 13, CV_32FC1)), ImageError);
  EXPECT_THROW(encode_png(noise(9, 13, CV_8UC2)), ImageError);
}

// ---- WebP

using LosslessEncoder = std::size_t (*)(const std::uint8_t*, int, int, int, std::uint8_t**);

std::string webp(LosslessEncoder encode, const cv::Mat& image) {
  std::uint8_t* bytes = nullptr;
  const auto size =
      encode(image.data, image.cols, image.rows, static_cast<int>(image.step), &bytes);
  const std::string file(reinterpret_cast<char*>(bytes), size);
  WebPFree(bytes);
  return file;
}

std::size_t lossy(const std::uint8_t* pixels, int width, int height, int row, std::uint8_t** to) {
  return WebPEncodeBGR(pixels, width, height, row, 90, to);
}

TEST(ImageFormats, Webp) {
  const cv::Mat image = noise(9, 13, CV_8UC3), even = smooth(32, 32, CV_8UC3);
  expect_pixels(webp(WebPEncodeLosslessBGR, image), image, "lossless");
  EXPECT_EQ(decode_image(webp(lossy, even)).type(), CV_8UC3);
  cv::Mat alpha = noise(9, 13, CV_8UC4);
  alpha.forEach<cv::Vec4b>([](cv::Vec4b& pixel, const int*) { pixel[3] |= 1; });
  expect_pixels(webp(WebPEncodeLosslessBGRA, alpha), alpha, "alpha");
  const auto file = webp(WebPEncodeLosslessBGR, image);
  EXPECT_THAT(error_of(file.substr(0, file.size() / 2)), HasSubstr("cut off"));
  expect_no_harm_in_cutting(file);
  const auto canvas = "VP8X" + little_endian(10, 4) + little_endian(2, 4) + little_endian(0, 3) +
                      little_endian(0, 3);
  EXPECT_THAT(error_of("RIFF" + little_endian(22, 4) + "WEBP" + canvas), HasSubstr("animation"));
}

// ---- BMP

std::string bmp(int width, int height, int bits, int compression, const std::string& before_pixels,
                const std::string& data, int header = 40) {
  auto info = little_endian(header, 4) + little_endian(width, 4) + little_endian(height, 4) +
              little_endian(1, 2) + little_endian(bits, 2) + little_endian(compression, 4);
  info.resize(std::min(40, header));
  const auto start = little_endian(14 + static_cast<int>(info.size() + before_pixels.size()), 4);
  return "BM" + std::string(8, '\0') + start + info + before_pixels + data;
}

TEST(ImageFormats, BmpOfEveryKind) {
  const auto colours = bytes_of({1, 2, 3, 0, 4, 5, 6, 0}),
             grays = bytes_of({7, 7, 7, 0, 9, 9, 9, 0});
  const auto masks = [](std::initializer_list<std::uint32_t> list) {
    std::string bytes;
    for (const auto mask : list) bytes += little_endian(mask, 4);
    return bytes;
  };
  const auto full = [](std::string palette, int entries) {
    palette.resize(4 * entries);
    return palette;
  };
  struct Case {
    const char* what;
    std::string file;
    cv::Mat expected;
  };
  const Case cases[] = {
      {"1 bit", bmp(3, 2, 1, 0, colours, bytes_of({0x40, 0, 0, 0, 0xA0, 0, 0, 0})),
       pixels(2, CV_8UC3, {4, 5, 6, 1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6, 1, 2, 3})},
      {"4 bits", bmp(3, 1, 4, 0, full(grays, 16), bytes_of({0x10, 0x10, 0, 0})),
       pixels(1, CV_8UC1, {9, 7, 9})},
      {"8 bits", bmp(2, 1, 8, 0, full(colours, 256), bytes_of({1, 0, 0, 0})),
       pixels(1, CV_8UC3, {4, 5, 6, 1, 2, 3})},
      {"16 bits", bmp(2, 1, 16, 0, "", bytes_of({0x1F, 0, 0, 0x7C})),
       pixels(1, CV_8UC3, {248, 0, 0, 0, 0, 248})},
      {"5, 6, 5", bmp(1, 1, 16, 3, masks({0xF800, 0x7E0, 0x1F}), bytes_of({0xE1, 7, 0, 0})),
       pixels(1, CV_8UC3, {8, 252, 0})},
      {"24 bits, from the top", bmp(1, -2, 24, 0, "", bytes_of({1, 2, 3, 0, 4, 5, 6, 0})),
       pixels(2, CV_8UC3, {1, 2, 3, 4, 5, 6})},
      {"32 bits", bmp(1, 2, 32, 0, "", bytes_of({1, 2, 3, 9, 4, 5, 6, 9})),
       pixels(2, CV_8UC3, {4, 5, 6, 1, 2, 3})},
      {"alpha",
       bmp(1, 1, 32, 3, masks({0xFF, 0xFF00, 0xFF0000, 0xFF000000}), bytes_of({1, 2, 3, 4}), 56),
       pixels(1, CV_8UC4, {3, 2, 1, 4})},
      {"runs",
       bmp(5, 2, 8, 1, full(grays, 256),
           bytes_of({2, 1, 0, 3, 0, 1, 0, 0, 0, 0, 0, 2, 3, 0, 2, 1, 0, 1})),
       pixels(2, CV_8UC1, {7, 7, 7, 9, 9, 9, 9, 7, 9, 7})},
      {"runs of 4 bits",
       bmp(5, 1, 4, 2, full(grays, 16), bytes_of({2, 0x10, 0, 3, 0x11, 0x10, 0, 1})),
       pixels(1, CV_8UC1, {9, 7, 9, 9, 9})},
  };
  for (const auto& [what, file, expected] : cases) {
    expect_pixels(file, expected, what);
    expect_no_harm_in_cutting(file);
  }
  const auto old = "BM" + std::string(8, '\0') + little_endian(32, 4) + little_endian(12, 4) +
                   little_endian(1, 2) + little_endian(1, 2) + little_endian(1, 2) +
                   little_endian(1, 2) + bytes_of({1, 2, 3, 4, 5, 6, 0x80, 0, 0, 0});
  expect_pixels(old, pixels(1, CV_8UC3, {4, 5, 6}), "the first kind of OS/2's");
  EXPECT_THAT(error_of(bmp(2, 1, 8, 1, full(grays, 256), bytes_of({9, 1, 0, 1}))),
              HasSubstr("leaves the image"));
  EXPECT_THAT(error_of(bmp(2, 1, 24, 4, "", "jpeg")), HasSubstr("compression 4"));
}

// ---- PNM

TEST(ImageFormats, PnmOfEveryKind) {
  struct Case {
    std::string file;
    cv::Mat expected;
  };
  const Case cases[] = {
      {"P1 # bits\n3 1\n10 1", pixels(1, CV_8UC1, {0, 255, 0})},
      {"P2\n2 1 # size\n#\n7\n3 #x\n7", pixels(1, CV_8UC1, {3, 7})},
      {"P2 2 1 1000 3 999", pixels(1, CV_16UC1, {3, 999})},
      {"P3 1 2 255 1 2 3 4 5 6", pixels(2, CV_8UC3, {3, 2, 1, 6, 5, 4})},
      {"P4 3 1\n\xA0", pixels(1, CV_8UC1, {0, 255, 0})},
      {"P5\n#\n2 1 255\n\n ", pixels(1, CV_8UC1, {10, 32})},
      {"P5 1 1 65535\n\x01\x02", pixels(1, CV_16UC1, {0x102})},
      {"P6 1 1 255\n\x01\x02\x03", pixels(1, CV_8UC3, {3, 2, 1})},
      {"P6 1 1 4095\r\x01\x02\x03\x04\x05\x06", pixels(1, CV_16UC3, {0x506, 0x304, 0x102})},
  };
  for (const auto& [file, expected] : cases) {
    expect_pixels(file, expected, file);
    expect_no_harm_in_cutting(file + "\n");
  }
}

// ---- All of them

TEST(ImageFormats, ReasonsAreTheDecoders) {
  auto wrong_sum = png(1, 1, 8, 0, bytes_of({0, 7}));
  wrong_sum[wrong_sum.size() - 14] ^= 1;
  auto precision = encode_jpeg(noise(8, 8, CV_8UC1), 85);
  precision[precision.find("\xFF\xC0") + 4] = 12;
  const std::pair<std::string, const char*> cases[] = {
      {"GIF89a", "is no readable image"},
      {wrong_sum, "cannot be decoded: IDAT: CRC error"},
      {png(1, 2, 8, 0, bytes_of({0, 7})), "cannot be decoded: Not enough image data"},
      {precision, "cannot be decoded: Unsupported JPEG data precision 12"},
      {std::string("II*\0\x08\0\0\0\0\0\0\0\0\0", 14), "cannot be decoded: "},
      {"P5 3 1 255\nab", "cannot be decoded: it is cut off"},
      {"P5 3 1 70000\nab", "cannot be decoded: its largest value is 70000"},
      {"P2 1 1 255 x", "something other than a number"},
      {"P5 0 1 255\n", "it has no pixels"},
      {"P5 # a comment\n 40000\n7 255\n", "is 40000 x 7 pixels; images have at most 32768 a side"},
      {png(32768, 32768, 16, 6, ""), "is 32768 x 32768 pixels"},
      {bmp(30000, 30000, 24, 0, "", ""), "is 30000 x 30000 pixels"},
  };
  for (const auto& [file, reason] : cases) EXPECT_THAT(error_of(file), HasSubstr(reason));
  try {
    decoded_image("xxxxxxxxx", "a.png");
    FAIL();
  } catch (const HostError& error) {
    EXPECT_STREQ(error.what(), "a.png: is no readable image");
  }
}

}  // namespace
}  // namespace telvar_host
