// TIFF: which pixels its layouts and kinds give, and which it refuses.
#include <gmock/gmock.h>
#include <tiffio.h>

#include <filesystem>

#include "files/input.h"
#include "files/platform.h"
#include "images/codecs/codecs.h"
#include "parts/codecs/image_files.h"

namespace telvar_host {
namespace {

using ::testing::HasSubstr;

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

}  // namespace
}  // namespace telvar_host
