// Portable bitmaps, graymaps and pixmaps, as text (P1 to P3) and as bytes (P4 to P6).

#include <algorithm>
#include <cctype>

#include "images/codecs/decoders.h"

namespace telvar_host {
namespace {

class Reader {
 public:
  Reader(const std::string& bytes, const SizeLimit& limit)
      : bytes_(bytes), limit_(limit), kind_(bytes[1] - '0') {}

  cv::Mat decoded() {
    if (!is_space()) throw cannot_decode("no white space after the kind of PNM");
    const auto width = number(), height = number();
    if (!is_bitmap()) largest_ = number();
    if (largest_ < 1 || largest_ > 65535) {
      throw cannot_decode("its largest value is " + std::to_string(largest_) + ", not 1 to 65535");
    }
    cv::Mat image =
        new_image(width, height, CV_MAKETYPE(largest_ > 255 ? CV_16U : CV_8U, channels()), limit_);
    if (kind_ >= 4) skip_end_of_header();
    for (int y = 0; y < image.rows; ++y) read_row(image, y);
    return image;
  }

 private:
  bool is_bitmap() const { return kind_ == 1 || kind_ == 4; }
  int channels() const { return kind_ == 3 || kind_ == 6 ? 3 : 1; }
  bool is_space() const {
    return at_ < bytes_.size() && std::isspace(static_cast<unsigned char>(bytes_[at_])) != 0;
  }
  bool is_digit() const {
    return at_ < bytes_.size() && std::isdigit(static_cast<unsigned char>(bytes_[at_])) != 0;
  }
  bool is_comment() const { return at_ < bytes_.size() && bytes_[at_] == '#'; }
  void skip_comment() { at_ = std::min(bytes_.find_first_of("\r\n", at_), bytes_.size()); }

  void skip_to_digit() {
    while (is_space() || is_comment()) {
      if (is_comment())
        skip_comment();
      else
        ++at_;
    }
    if (at_ == bytes_.size()) throw cannot_decode("it is cut off");
    if (!is_digit()) {
      throw cannot_decode("it has something other than a number at byte " + std::to_string(at_));
    }
  }

  // No larger than 2^32: what takes more is refused anyway.
  std::uint64_t number() {
    skip_to_digit();
    std::uint64_t value = 0;
    for (; is_digit(); ++at_) {
      value = std::min<std::uint64_t>(value * 10 + static_cast<unsigned>(bytes_[at_] - '0'),
                                      std::uint64_t{1} << 32);
    }
    return value;
  }

  // One character of white space, for bytes that look like it may follow.
  void skip_end_of_header() {
    if (is_comment()) skip_comment();
    if (!is_space()) throw cannot_decode("no white space after its header");
    ++at_;
  }

  // Numbers of bitmaps need no space between.
  std::uint64_t bit() {
    skip_to_digit();
    return bytes_[at_++] == '0' ? 255 : 0;
  }

  const unsigned char* take(std::size_t count) {
    if (count > bytes_.size() - at_) throw cannot_decode("it is cut off");
    at_ += count;
    return reinterpret_cast<const unsigned char*>(bytes_.data()) + at_ - count;
  }

  void read_row(cv::Mat& image, int y) {
    const std::size_t width = static_cast<std::size_t>(image.cols);
    const std::size_t count = width * static_cast<std::size_t>(channels());
    const bool wide = image.depth() == CV_16U;
    const unsigned char* const from = kind_ < 4 ? nullptr
                                                : take(kind_ == 4 ? (width + 7) / 8
                                                       : wide     ? 2 * count
                                                                  : count);
    for (std::size_t i = 0; i < count; ++i) {
      std::uint64_t value = 0;
      if (kind_ == 1)
        value = bit();
      else if (kind_ < 4)
        value = std::min(number(), largest_);
      else if (kind_ == 4)
        value = (from[i / 8] >> (7 - i % 8) & 1) != 0 ? 0 : 255;
      else if (wide)
        value = static_cast<unsigned>(from[2 * i] << 8 | from[2 * i + 1]);
      else
        value = from[i];
      // Colours are stored from red to blue.
      const std::size_t to = channels() == 3 ? i / 3 * 3 + 2 - i % 3 : i;
      if (wide)
        image.ptr<std::uint16_t>(y)[to] = static_cast<std::uint16_t>(value);
      else
        image.ptr(y)[to] = static_cast<unsigned char>(value);
    }
  }

  const std::string& bytes_;
  const SizeLimit& limit_;
  int kind_;
  std::uint64_t largest_ = 1;
  std::size_t at_ = 2;
};

}  // namespace

cv::Mat decode_pnm(const std::string& bytes, const SizeLimit& limit) {
  if (bytes.size() < 3) throw cannot_decode("it is cut off");
  return Reader(bytes, limit).decoded();
}

}  // namespace telvar_host
