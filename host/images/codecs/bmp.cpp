// Windows and OS/2 bitmaps: 1, 4, 8, 16, 24 and 32 bits a pixel, runs of 4 and 8 bits.

#include <algorithm>
#include <array>

#include "images/codecs/decoders.h"

namespace telvar_host {
namespace {

enum Compression : std::uint32_t {
  kNone = 0,
  kRuns8 = 1,
  kRuns4 = 2,
  kFields = 3,
  kAlphaFields = 6
};

using Colour = std::array<unsigned char, 3>;  // BGR

// Bits of a pixel that hold one colour.
struct Field {
  std::uint32_t mask = 0;

  // In the upper bits of 8.
  unsigned char of(std::uint32_t pixel) const {
    if (mask == 0) return 0;
    int lowest = 0, highest = 31;
    while ((mask >> lowest & 1) == 0) ++lowest;
    while ((mask >> highest & 1) == 0) --highest;
    const int bits = highest - lowest + 1;
    const std::uint32_t value = (pixel & mask) >> lowest;
    return static_cast<unsigned char>(bits >= 8 ? value >> (bits - 8) : value << (8 - bits));
  }
};

class Reader {
 public:
  Reader(const std::string& bytes, const SizeLimit& limit) : bytes_(bytes), limit_(limit) {
    read_header();
    if (bits_ <= 8)
      read_palette();
    else
      read_fields();
  }

  cv::Mat decoded() {
    cv::Mat image = new_image(width_, height_, CV_MAKETYPE(CV_8U, channels()), limit_);
    if (compression_ == kRuns4 || compression_ == kRuns8)
      read_runs(image);
    else
      read_rows(image);
    return image;
  }

 private:
  // Little endian.
  std::uint32_t number(std::size_t at, std::size_t count) const {
    if (at > bytes_.size() || count > bytes_.size() - at) throw cannot_decode("it is cut off");
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value |= std::uint32_t{byte(at + i)} << 8 * i;
    return value;
  }

  unsigned char byte(std::size_t at) const { return static_cast<unsigned char>(bytes_[at]); }

  bool is_old() const { return header_bytes_ == 12; }  // OS/2's first kind

  void read_header() {
    pixels_at_ = number(10, 4);
    header_bytes_ = number(14, 4);
    if (!is_old() && (header_bytes_ < 40 || header_bytes_ > 1024)) {
      throw cannot_decode("its header has " + std::to_string(header_bytes_) + " bytes");
    }
    width_ = is_old() ? number(18, 2) : number(18, 4);
    const auto height = static_cast<std::int32_t>(is_old() ? number(20, 2) : number(22, 4));
    from_top_ = height < 0;
    height_ = static_cast<std::uint64_t>(from_top_ ? -std::int64_t{height} : height);
    bits_ = number(is_old() ? 24 : 28, 2);
    compression_ = is_old() ? kNone : number(30, 4);
    colours_ = is_old() ? 0 : number(46, 4);
    require_known_kind();
    if (pixels_at_ < 14 + header_bytes_) throw cannot_decode("its pixels begin in its header");
  }

  void require_known_kind() const {
    const bool indexed = bits_ == 1 || bits_ == 4 || bits_ == 8;
    const bool direct = bits_ == 16 || bits_ == 24 || bits_ == 32;
    const bool fields = compression_ == kFields || compression_ == kAlphaFields;
    const bool known =
        (compression_ == kNone && (indexed || direct)) || (compression_ == kRuns8 && bits_ == 8) ||
        (compression_ == kRuns4 && bits_ == 4) || (fields && (bits_ == 16 || bits_ == 32));
    if (known) return;
    throw cannot_decode("BMP of " + std::to_string(bits_) + " bits with compression " +
                        std::to_string(compression_) + " is not supported");
  }

  // As many colours as are there; indexes beyond are black.
  void read_palette() {
    const std::size_t entry = is_old() ? 3 : 4, at = 14 + std::size_t{header_bytes_};
    const std::size_t most = std::size_t{1} << bits_;
    const std::size_t count =
        std::min({colours_ == 0 ? most : colours_, most, (pixels_at_ - at) / entry});
    for (std::size_t i = 0; i < count; ++i) {
      number(at + i * entry, 3);  // whether it is there
      for (std::size_t c = 0; c < 3; ++c) palette_[i][c] = byte(at + i * entry + c);
      has_colour_ |= palette_[i][0] != palette_[i][1] || palette_[i][1] != palette_[i][2];
    }
  }

  void read_fields() {
    has_colour_ = true;
    if (bits_ == 16) fields_ = {Field{0x1F}, Field{0x3E0}, Field{0x7C00}, Field{}};
    if (bits_ != 16) fields_ = {Field{0xFF}, Field{0xFF00}, Field{0xFF0000}, Field{}};
    if (compression_ == kNone) return;
    // Behind the first kind of header, or at the same place in later ones.
    for (std::size_t i = 0; i < 3; ++i) fields_[2 - i].mask = number(54 + 4 * i, 4);
    if (header_bytes_ >= 56 || compression_ == kAlphaFields) fields_[3].mask = number(66, 4);
  }

  int channels() const { return !has_colour_ ? 1 : fields_[3].mask != 0 ? 4 : 3; }

  unsigned char* row_of(cv::Mat& image, std::uint64_t y) const {
    return image.ptr(static_cast<int>(from_top_ ? y : height_ - 1 - y));
  }

  void put_colour(unsigned char* row, std::uint64_t x, std::size_t index) const {
    const Colour& colour = palette_[index];
    if (has_colour_)
      std::copy(colour.begin(), colour.end(), row + 3 * x);
    else
      row[x] = colour[0];
  }

  void read_rows(cv::Mat& image) {
    const std::uint64_t row_bytes = (width_ * bits_ + 7) / 8, stored = (row_bytes + 3) / 4 * 4;
    if (pixels_at_ + stored * (height_ - 1) + row_bytes > bytes_.size()) {
      throw cannot_decode("it is cut off");
    }
    for (std::uint64_t y = 0; y < height_; ++y) {
      read_row(pixels_at_ + stored * y, row_of(image, y));
    }
  }

  void read_row(std::size_t at, unsigned char* row) const {
    if (bits_ > 8) {
      read_pixels(at, row);
      return;
    }
    const unsigned per_byte = 8 / bits_, mask = (1U << bits_) - 1;
    for (std::uint64_t x = 0; x < width_; ++x) {
      const unsigned shift = 8 - bits_ * (1 + static_cast<unsigned>(x % per_byte));
      put_colour(row, x, byte(at + x / per_byte) >> shift & mask);
    }
  }

  void read_pixels(std::size_t at, unsigned char* row) const {
    const std::size_t size = bits_ / 8, count = fields_[3].mask != 0 ? 4 : 3;
    if (compression_ == kNone && bits_ != 16) {
      for (std::uint64_t x = 0; x < width_; ++x)
        std::copy_n(bytes_.data() + at + x * size, 3, row + 3 * x);
      return;
    }
    for (std::uint64_t x = 0; x < width_; ++x) {
      const std::uint32_t pixel = number(at + x * size, size);
      for (std::size_t c = 0; c < count; ++c) *row++ = fields_[c].of(pixel);
    }
  }

  // Pairs of a count and a colour; a count of 0 starts what the next byte says.
  void read_runs(cv::Mat& image) {
    enum Escape { kEndOfRow = 0, kEnd = 1, kMove = 2 };
    for (std::uint64_t y = 0; y < height_; ++y) {
      for (std::uint64_t x = 0; x < width_; ++x) put_colour(row_of(image, y), x, 0);
    }
    at_ = pixels_at_;
    for (;;) {
      // Some leave out what comes after the last row, and the ends of full ones.
      if (at_ == bytes_.size() && y_ + (x_ == width_ ? 1 : 0) >= height_) return;
      const unsigned count = next(), what = next();
      if (count == 0 && what == kEnd) return;
      if (count == 0 && what == kEndOfRow) {
        ++y_;
        x_ = 0;
      } else if (count == 0 && what == kMove) {
        x_ += next();
        y_ += next();
      } else {
        put_run(image, count, what);
      }
    }
  }

  unsigned next() { return number(at_++, 1); }

  // `count` pixels of the colours in `what`, or, where it is 0, `what` pixels as they follow.
  void put_run(cv::Mat& image, unsigned count, unsigned what) {
    const bool literal = count == 0;
    const unsigned pixels = literal ? what : count, per_byte = 8 / bits_;
    if (x_ == width_) {
      x_ = 0;
      ++y_;
    }
    if (y_ >= height_ || x_ > width_ || pixels > width_ - x_) {
      throw cannot_decode("a run of pixels leaves the image");
    }
    unsigned char* const row = row_of(image, y_);
    unsigned colours = what;
    for (unsigned i = 0; i < pixels; ++i) {
      if (literal && i % per_byte == 0) colours = next();
      const bool upper = bits_ == 4 && i % 2 == 0;
      put_colour(row, x_++, bits_ == 8 ? colours : upper ? colours >> 4 : colours & 15);
    }
    if (literal) at_ += (pixels + per_byte - 1) / per_byte % 2;
  }

  const std::string& bytes_;
  const SizeLimit& limit_;
  std::uint32_t pixels_at_ = 0, header_bytes_ = 0, bits_ = 0, compression_ = 0;
  std::uint64_t width_ = 0, height_ = 0;
  std::size_t colours_ = 0;
  bool from_top_ = false, has_colour_ = false;
  std::array<Colour, 256> palette_{};
  std::array<Field, 4> fields_{};  // BGRA
  std::size_t at_ = 0;             // of runs
  std::uint64_t x_ = 0, y_ = 0;
};

}  // namespace

cv::Mat decode_bmp(const std::string& bytes, const SizeLimit& limit) {
  return Reader(bytes, limit).decoded();
}

}  // namespace telvar_host
