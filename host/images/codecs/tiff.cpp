#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <vector>

#include "images/codecs/decoders.h"

namespace telvar_host {
namespace {

// No single piece of a file takes more: that is the largest image of 16-bit BGRA.
constexpr tmsize_t kMostMemory = tmsize_t{1} << 31;

// The file as libtiff sees it, and the first thing that it complained of.
struct Source {
  const std::string& bytes;
  std::uint64_t at = 0;
  char reason[256] = "";
};

tmsize_t read_bytes(thandle_t handle, void* to, tmsize_t count) {
  auto* const source = static_cast<Source*>(handle);
  if (count < 0 || source->at >= source->bytes.size()) return 0;
  const auto size =
      std::min<std::uint64_t>(static_cast<std::uint64_t>(count), source->bytes.size() - source->at);
  std::memcpy(to, source->bytes.data() + source->at, size);
  source->at += size;
  return static_cast<tmsize_t>(size);
}

tmsize_t write_nothing(thandle_t, void*, tmsize_t) {
  return 0;
}

toff_t seek(thandle_t handle, toff_t offset, int from) {
  auto* const source = static_cast<Source*>(handle);
  const std::uint64_t start = from == SEEK_CUR   ? source->at
                              : from == SEEK_END ? source->bytes.size()
                                                 : 0;
  return source->at = start + offset;
}

toff_t size_of(thandle_t handle) {
  return static_cast<Source*>(handle)->bytes.size();
}

int close_nothing(thandle_t) {
  return 0;
}

constexpr int kHandled = 1;  // the global handlers, which print, are not called

int keep_reason(TIFF*, void* data, const char*, const char* format, va_list arguments) {
  auto* const source = static_cast<Source*>(data);
  if (source->reason[0] == 0)
    std::vsnprintf(source->reason, sizeof source->reason, format, arguments);
  return kHandled;
}

int ignore_warning(TIFF*, void*, const char*, const char*, va_list) {
  return kHandled;
}

struct Close {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using Handle = std::unique_ptr<TIFF, Close>;

Handle opened(Source& source) {
  const std::unique_ptr<TIFFOpenOptions, Close> options(TIFFOpenOptionsAlloc());
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostMemory);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keep_reason, &source);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignore_warning, nullptr);
  return Handle(TIFFClientOpenExt("it", "rm", &source, read_bytes, write_nothing, seek,
                                  close_nothing, size_of, nullptr, nullptr, options.get()));
}

// What a directory says of its image, with the defaults of TIFF 6.0.
struct Layout {
  explicit Layout(TIFF* tiff) {
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    photometric = samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  }

  bool is_gray() const {
    return photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
  }
  // Whether its samples are the pixels' values.
  bool is_plain() const {
    return bits >= 8 && (is_gray() || (photometric == PHOTOMETRIC_RGB && samples >= 3));
  }
  bool is_supported() const {
    const bool is_unsigned = format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID;
    return is_unsigned && bits <= 16 && (is_gray() || samples <= 4);
  }
  int channels() const { return is_gray() ? 1 : samples == 4 ? 4 : 3; }

  std::uint32_t width = 0, height = 0;
  std::uint16_t bits = 1, samples = 1, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG,
                orientation = ORIENTATION_TOPLEFT, photometric = PHOTOMETRIC_MINISBLACK;
};

// Strips or tiles: the image's rows and columns that are stored together, of one plane.
struct Blocks {
  explicit Blocks(TIFF* tiff, const Layout& layout) : tiled(TIFFIsTiled(tiff) != 0) {
    if (tiled) {
      TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &width);
      TIFFGetField(tiff, TIFFTAG_TILELENGTH, &height);
    } else {
      width = layout.width;
      TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &height);
      height = std::min(height, layout.height);
    }
    bytes = tiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
    row_bytes = tiled ? TIFFTileRowSize(tiff) : TIFFScanlineSize(tiff);
  }

  bool tiled;
  std::uint32_t width = 0, height = 0;
  tmsize_t bytes = 0, row_bytes = 0;
};

// Decodes samples that are the pixels' values.
class PlainReader {
 public:
  PlainReader(TIFF* tiff, const Layout& layout, Source& source)
      : tiff_(tiff), layout_(layout), blocks_(tiff, layout), source_(source) {
    planes_ = layout.planar == PLANARCONFIG_SEPARATE ? layout.channels() : 1;
    stride_ = planes_ > 1 || layout.planar == PLANARCONFIG_SEPARATE ? 1 : layout.samples;
    const std::uint64_t row_bits = std::uint64_t{blocks_.width} * stride_ * layout.bits;
    if (blocks_.width == 0 || blocks_.height == 0 || blocks_.bytes <= 0 ||
        blocks_.bytes > kMostMemory ||
        static_cast<std::uint64_t>(blocks_.row_bytes) < (row_bits + 7) / 8 ||
        blocks_.bytes / blocks_.height < blocks_.row_bytes) {
      throw cannot_decode("its strips or tiles have no possible size");
    }
    // Not filled with zeros: a file may lie about its size.
    block_.reset(new unsigned char[static_cast<std::size_t>(blocks_.bytes)]);
    line_.resize(layout.bits % 8 == 0 ? 0 : std::size_t{blocks_.width} * stride_);
  }

  void read(cv::Mat& image) {
    for (int plane = 0; plane < planes_; ++plane) {
      for (std::uint32_t y = 0; y < layout_.height; y += blocks_.height) {
        for (std::uint32_t x = 0; x < layout_.width; x += blocks_.width) {
          const std::uint32_t rows = std::min(blocks_.height, layout_.height - y);
          read_block(x, y, rows, plane);
          for (std::uint32_t row = 0; row < rows; ++row) spread(image, x, y, row, plane);
        }
      }
    }
  }

 private:
  void read_block(std::uint32_t x, std::uint32_t y, std::uint32_t rows, int plane) {
    const auto sample = static_cast<std::uint16_t>(plane);
    const std::uint32_t number = blocks_.tiled ? TIFFComputeTile(tiff_, x, y, 0, sample)
                                               : TIFFComputeStrip(tiff_, y, sample);
    if (TIFFGetStrileByteCount(tiff_, number) == 0) {
      throw cannot_decode("one of its strips or tiles is missing");
    }
    const tmsize_t needed = rows * blocks_.row_bytes;
    const tmsize_t read = blocks_.tiled
                              ? TIFFReadEncodedTile(tiff_, number, block_.get(), blocks_.bytes)
                              : TIFFReadEncodedStrip(tiff_, number, block_.get(), needed);
    if (read < needed) {
      throw cannot_decode(source_.reason[0] == 0 ? "it is cut off" : source_.reason);
    }
  }

  // Samples of 9 to 15 bits, packed from the upper bits of bytes down.
  const std::uint16_t* unpacked(const unsigned char* bytes, std::size_t count) {
    unsigned kept = 0, has = 0;
    for (std::size_t i = 0; i < count; ++i) {
      for (; has < layout_.bits; has += 8) kept = kept << 8 | *bytes++;
      has -= layout_.bits;
      const unsigned sample = kept >> has;
      line_[i] = static_cast<std::uint16_t>(sample << (16 - layout_.bits));
      kept &= (1U << has) - 1;
    }
    return line_.data();
  }

  template <typename Sample>
  void copy(const Sample* from, Sample* to, std::uint32_t count, int channels, int plane) const {
    for (int channel = 0; channel < channels; ++channel) {
      if (planes_ > 1 && channel != plane) continue;
      // Red and blue change places.
      const int place = channels >= 3 && channel < 3 ? 2 - channel : channel;
      const Sample* sample = from + (planes_ > 1 ? 0 : channel);
      for (std::size_t i = 0; i < count; ++i) {
        to[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(place)] =
            sample[i * stride_];
      }
    }
  }

  void spread(cv::Mat& image, std::uint32_t x, std::uint32_t y, std::uint32_t row, int plane) {
    const auto* const from = block_.get() + row * static_cast<std::size_t>(blocks_.row_bytes);
    const std::uint32_t count = std::min(blocks_.width, layout_.width - x);
    const int channels = image.channels();
    unsigned char* const to = image.ptr(static_cast<int>(y + row), static_cast<int>(x));
    if (layout_.bits == 8) {
      copy(from, to, count, channels, plane);
      return;
    }
    // Both are aligned: rows of 16-bit samples have an even number of bytes.
    const auto* const wide = layout_.bits == 16 ? reinterpret_cast<const std::uint16_t*>(from)
                                                : unpacked(from, std::size_t{count} * stride_);
    copy(wide, reinterpret_cast<std::uint16_t*>(to), count, channels, plane);
  }

  TIFF* tiff_;
  const Layout& layout_;
  Blocks blocks_;
  Source& source_;
  int planes_ = 1;
  std::uint32_t stride_ = 1;
  std::unique_ptr<unsigned char[]> block_;
  std::vector<std::uint16_t> line_;
};

cv::Mat plain(TIFF* tiff, const Layout& layout, const SizeLimit& limit, Source& source) {
  cv::Mat image =
      new_image(layout.width, layout.height,
                CV_MAKETYPE(layout.bits > 8 ? CV_16U : CV_8U, layout.channels()), limit);
  PlainReader(tiff, layout, source).read(image);
  if (layout.photometric == PHOTOMETRIC_MINISWHITE) cv::bitwise_not(image, image);
  return image;
}

// What libtiff makes of palettes, YCbCr, CMYK, Lab and samples of 1 to 4 bits: 8-bit RGBA.
cv::Mat converted(TIFF* tiff, const Layout& layout, const SizeLimit& limit, Source& source) {
  cv::Mat image =
      new_image(layout.width, layout.height, CV_MAKETYPE(CV_8U, layout.channels()), limit);
  const std::unique_ptr<std::uint32_t[]> raster(new std::uint32_t[image.total()]);
  // In the order in which it is stored: `upright` turns it.
  if (TIFFReadRGBAImageOriented(tiff, layout.width, layout.height, raster.get(), layout.orientation,
                                1) == 0) {
    throw cannot_decode(source.reason);
  }
  const int channels = image.channels();
  for (int y = 0; y < image.rows; ++y) {
    const std::uint32_t* from = raster.get() + static_cast<std::size_t>(y) * layout.width;
    unsigned char* to = image.ptr(y);
    for (int x = 0; x < image.cols; ++x, ++from, to += channels) {
      to[0] = static_cast<unsigned char>(TIFFGetB(*from));
      if (channels >= 3) to[1] = static_cast<unsigned char>(TIFFGetG(*from));
      if (channels >= 3) to[2] = static_cast<unsigned char>(TIFFGetR(*from));
      if (channels == 4) to[3] = static_cast<unsigned char>(TIFFGetA(*from));
    }
  }
  return image;
}

}  // namespace

cv::Mat decode_tiff(const std::string& bytes, const SizeLimit& limit) {
  Source source{bytes};
  const Handle tiff = opened(source);
  if (!tiff) throw cannot_decode(source.reason[0] == 0 ? "it is no whole TIFF" : source.reason);
  const Layout layout(tiff.get());
  if (!layout.is_supported()) throw unsupported_pixels();
  return upright(layout.is_plain() ? plain(tiff.get(), layout, limit, source)
                                   : converted(tiff.get(), layout, limit, source),
                 layout.orientation);
}

}  // namespace telvar_host
