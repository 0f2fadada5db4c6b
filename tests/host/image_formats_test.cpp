// Images of every format: which pixels they give, and why they give none. The files are made by the
// formats' own encoders, or byte by byte.

// Before jpeglib.h, which needs FILE and size_t.
#include <cstdio>

#include <gmock/gmock.h>
#include <jpeglib.h>
#include <tiffio.h>
#include <webp/encode.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <opencv2/core.hpp>

#include "app/errors.h"
#include "files/input.h"
#include "files/platform.h"
#include "images/codecs/codecs.h"
#include "images/read_image.h"

namespace telvar_host {
namespace {

using ::testing::HasSubstr;

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

// A matrix of values as they are listed.
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

// What lossy formats keep.
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
                   double tolerance = 0) {
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

// Whatever is missing at its end: the reason, or as many pixels as ever.
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

// The `count` lowest bytes, the highest first.
std::string big_endian(std::uint32_t value, int count) {
  std::string bytes;
  for (int i = count - 1; i >= 0; --i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}

std::string little_endian(std::uint32_t value, int count) {
  const auto bytes = big_endian(value, count);
  return {bytes.rbegin(), bytes.rend()};
}

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

std::string bytes_of(const std::vector<int>& values) {
  return {values.begin(), values.end()};
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

// ---- JPEG

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

// ---- TIFF

struct TiffPlan {
  const char* mode = "wl";  // little or big endian
  int compression = COMPRESSION_NONE;
  int photometric = PHOTOMETRIC_MINISBLACK;
  int bits = 8;
  int samples = 1;
  bool planes = false;
  bool tiles = false;
  int orientation = ORIENTATION_TOPLEFT;
  int format = SAMPLEFORMAT_UINT;
  std::vector<int> alpha;
  std::vector<std::uint16_t> palette;  // red, green, blue
};

// A file of `stored` samples: packed rows, one plane after the other where they are apart.
std::string tiff(const TiffPlan& plan, int width, const cv::Mat& stored, int pages = 1) {
  const auto file = std::filesystem::temp_directory_path() / ("telvar-" + process_tag() + ".tif");
  TIFF* const out = TIFFOpen(file.c_str(), plan.mode);
  const int planes = plan.planes ? plan.samples : 1, height = stored.rows / planes;
  for (int page = 0; page < pages; ++page) {
    TIFFSetField(out, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(out, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(out, TIFFTAG_BITSPERSAMPLE, plan.bits);
    TIFFSetField(out, TIFFTAG_SAMPLESPERPIXEL, plan.samples);
    TIFFSetField(out, TIFFTAG_SAMPLEFORMAT, plan.format);
    TIFFSetField(out, TIFFTAG_COMPRESSION, plan.compression);
    TIFFSetField(out, TIFFTAG_PHOTOMETRIC, plan.photometric);
    TIFFSetField(out, TIFFTAG_ORIENTATION, plan.orientation);
    TIFFSetField(out, TIFFTAG_PLANARCONFIG,
                 plan.planes ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    const std::vector<std::uint16_t> extra(plan.alpha.begin(), plan.alpha.end());
    if (!extra.empty())
      TIFFSetField(out, TIFFTAG_EXTRASAMPLES, static_cast<int>(extra.size()), extra.data());
    if (!plan.palette.empty()) {
      const auto* colours = plan.palette.data();
      const std::size_t third = plan.palette.size() / 3;
      TIFFSetField(out, TIFFTAG_COLORMAP, colours, colours + third, colours + 2 * third);
    }
    constexpr int kTile = 16, kRows = 5;
    if (plan.tiles) {
      TIFFSetField(out, TIFFTAG_TILEWIDTH, kTile);
      TIFFSetField(out, TIFFTAG_TILELENGTH, kTile);
    } else {
      TIFFSetField(out, TIFFTAG_ROWSPERSTRIP, kRows);
    }
    const int pixel = static_cast<int>(stored.cols * stored.elemSize()) / width;
    for (int plane = 0; plane < planes; ++plane) {
      const cv::Mat part = stored.rowRange(plane * height, (plane + 1) * height);
      for (int y = 0; !plan.tiles && y < height; ++y) {
        TIFFWriteScanline(out, part.clone().ptr(y), static_cast<std::uint32_t>(y),
                          static_cast<std::uint16_t>(plane));
      }
      for (int y = 0; plan.tiles && y < height; y += kTile) {
        for (int x = 0; x < width; x += kTile) {
          cv::Mat tile = cv::Mat::zeros(kTile, kTile * pixel, CV_8U);
          for (int row = y; row < std::min(y + kTile, height); ++row)
            std::copy_n(part.ptr(row) + x * pixel, std::min(kTile, width - x) * pixel,
                        tile.ptr(row - y));
          TIFFWriteTile(out, tile.data, static_cast<std::uint32_t>(x),
                        static_cast<std::uint32_t>(y), 0, static_cast<std::uint16_t>(plane));
        }
      }
    }
    TIFFWriteDirectory(out);
  }
  TIFFClose(out);
  const auto bytes = read_file(file);
  std::filesystem::remove(file);
  return bytes;
}

// Samples in the order of files: RGB(A), all of a plane before the next if asked.
cv::Mat stored_samples(const cv::Mat& image, bool planes) {
  std::vector<cv::Mat> channels;
  cv::split(image, channels);
  if (channels.size() >= 3) std::swap(channels[0], channels[2]);
  cv::Mat samples;
  if (planes)
    cv::vconcat(channels, samples);
  else
    cv::merge(channels, samples);
  return samples;
}

TEST(ImageFormats, TiffInEveryLayout) {
  for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3, CV_16UC4}) {
    const cv::Mat image = noise(37, 21, type);
    for (int layout = 0; layout < 8; ++layout) {
      TiffPlan plan;
      plan.bits = image.depth() == CV_8U ? 8 : 16;
      plan.samples = image.channels();
      plan.photometric = plan.samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
      if (plan.samples == 4) plan.alpha = {EXTRASAMPLE_UNASSALPHA};
      plan.planes = (layout & 1) != 0;
      plan.tiles = (layout & 2) != 0;
      plan.mode = (layout & 4) != 0 ? "wb" : "w8";
      for (const int compression :
           {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
        plan.compression = compression;
        expect_pixels(tiff(plan, image.cols, stored_samples(image, plan.planes)), image,
                      "type " + std::to_string(type) + ", layout " + std::to_string(layout) +
                          ", compression " + std::to_string(compression));
      }
    }
  }
}

TEST(ImageFormats, TiffOfEveryKind) {
  const std::vector<std::uint16_t> palette = {0,      0x100,  0x200, 0x300,  0,      0x1100,
                                              0x1200, 0x1300, 0,     0x2100, 0x2200, 0x2300};
  TiffPlan plan;
  plan.bits = 1;
  expect_pixels(tiff(plan, 3, pixels(1, CV_8UC1, {0x40})), pixels(1, CV_8UC1, {0, 255, 0}),
                "1 bit");
  plan.compression = COMPRESSION_CCITTFAX4;
  plan.photometric = PHOTOMETRIC_MINISWHITE;
  expect_pixels(tiff(plan, 3, pixels(1, CV_8UC1, {0x40})), pixels(1, CV_8UC1, {255, 0, 255}),
                "fax");
  plan = {};
  plan.bits = 2;
  plan.photometric = PHOTOMETRIC_PALETTE;
  plan.palette = palette;
  expect_pixels(tiff(plan, 2, pixels(1, CV_8UC1, {0x60})),
                pixels(1, CV_8UC3, {0x21, 0x11, 1, 0x22, 0x12, 2}), "palette");
  plan = {};
  plan.bits = 12;
  expect_pixels(tiff(plan, 2, pixels(1, CV_8UC1, {0x12, 0x3A, 0xBC})),
                pixels(1, CV_16UC1, {0x1230, 0xABC0}), "12 bits");
  plan.bits = 16;
  plan.photometric = PHOTOMETRIC_MINISWHITE;
  expect_pixels(tiff(plan, 1, pixels(1, CV_16UC1, {0x1234})), pixels(1, CV_16UC1, {0xEDCB}),
                "white is zero");
  plan = {};
  plan.samples = 2;
  plan.alpha = {EXTRASAMPLE_UNASSALPHA};
  expect_pixels(tiff(plan, 2, pixels(1, CV_8UC1, {1, 2, 3, 4})), pixels(1, CV_8UC1, {1, 3}),
                "gray and alpha");
  plan = {};
  plan.samples = 4;
  plan.photometric = PHOTOMETRIC_SEPARATED;
  expect_pixels(tiff(plan, 1, pixels(1, CV_8UC1, {0, 255, 0, 0})),
                pixels(1, CV_8UC4, {255, 0, 255, 255}), "CMYK");
  plan = {};
  const cv::Mat image = noise(7, 9, CV_8UC1);
  expect_pixels(tiff(plan, 9, image, 2), image, "the first of two");
  plan.orientation = ORIENTATION_RIGHTTOP;
  cv::Mat turned;
  cv::rotate(image, turned, cv::ROTATE_90_CLOCKWISE);
  expect_pixels(tiff(plan, 9, image), turned, "orientation");
  plan = {};
  plan.compression = COMPRESSION_ADOBE_DEFLATE;
  expect_no_harm_in_cutting(tiff(plan, 9, image));
  for (const auto& [format, bits] :
       {std::pair(SAMPLEFORMAT_IEEEFP, 32), {SAMPLEFORMAT_INT, 16}, {SAMPLEFORMAT_UINT, 32}}) {
    plan = {};
    plan.format = format;
    plan.bits = bits;
    EXPECT_THAT(error_of(tiff(plan, 2, pixels(1, CV_8UC1, std::vector<int>(bits / 4)))),
                HasSubstr("unsupported type"));
  }
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
    decoded_image(repeated("x", 9), "a.png");
    FAIL();
  } catch (const HostError& error) {
    EXPECT_STREQ(error.what(), "a.png: is no readable image");
  }
}

}  // namespace
}  // namespace telvar_host
