#include "images/header_size.h"

#include <algorithm>
#include <cctype>

namespace telvar_host {
namespace {

using Size = std::optional<std::pair<std::uint64_t, std::uint64_t>>;

// Numbers at places of the file; 0 beyond its end, which no image has for a size.
class Bytes {
 public:
  Bytes(const std::string& bytes, bool big_endian) : bytes_(bytes), big_endian_(big_endian) {}

  std::uint64_t at(std::size_t offset, std::size_t count) const {
    if (offset > bytes_.size() || count > bytes_.size() - offset) return 0;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const auto byte = static_cast<unsigned char>(bytes_[offset + i]);
      value |= std::uint64_t{byte} << (8 * (big_endian_ ? count - 1 - i : i));
    }
    return value;
  }

 private:
  const std::string& bytes_;
  bool big_endian_;
};

bool starts_with(const std::string& bytes, const std::string& magic) {
  return bytes.compare(0, magic.size(), magic) == 0;
}

// The first frame header (ITU-T T.81, B.2.2): markers C0 to CF but DHT, JPG and DAC.
Size jpeg_size(const std::string& bytes) {
  const Bytes read(bytes, true);
  for (std::size_t at = 2; read.at(at, 1) == 0xFF;) {
    const auto marker = read.at(at + 1, 1);
    if (marker == 0xFF) {  // fill
      ++at;
      continue;
    }
    if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
      return {{read.at(at + 7, 2), read.at(at + 5, 2)}};
    }
    const auto length = read.at(at + 2, 2);
    if (length < 2) break;
    at += 2 + length;
  }
  return {};
}

Size bmp_size(const std::string& bytes) {
  const Bytes read(bytes, false);
  if (read.at(14, 4) == 12) return {{read.at(18, 2), read.at(20, 2)}};
  // Height may be negative: the rows then start at the top.
  const auto height = static_cast<std::int32_t>(static_cast<std::uint32_t>(read.at(22, 4)));
  return {{read.at(18, 4), static_cast<std::uint64_t>(std::abs(std::int64_t{height}))}};
}

// Two numbers after "P1".."P6", with white space and comments between.
Size pnm_size(const std::string& bytes) {
  std::uint64_t values[2] = {};
  std::size_t at = 2;
  for (auto& value : values) {
    while (at < bytes.size() &&
           (std::isspace(static_cast<unsigned char>(bytes[at])) != 0 || bytes[at] == '#')) {
      at = bytes[at] == '#' ? std::min(bytes.find('\n', at), bytes.size()) : at + 1;
    }
    for (; at < bytes.size() && std::isdigit(static_cast<unsigned char>(bytes[at])) != 0; ++at) {
      value = std::min<std::uint64_t>(value * 10 + static_cast<std::uint64_t>(bytes[at] - '0'),
                                      UINT32_MAX);
    }
  }
  return {{values[0], values[1]}};
}

// Tags 256 and 257 of the first directory (TIFF 6.0, section 2); type 3 has two bytes, 4 four.
Size tiff_size(const std::string& bytes) {
  const Bytes read(bytes, bytes[0] == 'M');
  const auto directory = read.at(4, 4);
  const auto entries = read.at(directory, 2);
  std::pair<std::uint64_t, std::uint64_t> size;
  for (std::uint64_t i = 0; i < entries; ++i) {
    const auto entry = directory + 2 + 12 * i;
    const auto value = read.at(entry + 8, read.at(entry + 2, 2) == 3 ? 2 : 4);
    if (read.at(entry, 2) == 256) size.first = value;
    if (read.at(entry, 2) == 257) size.second = value;
  }
  return size;
}

// The chunk at the start (RFC 9649): the canvas of an extended file, or the frame, whose numbers
// have 14 bits, in a lossless file one less than the size and beside each other.
Size webp_size(const std::string& bytes) {
  const Bytes read(bytes, false);
  const auto chunk = bytes.substr(12, 4);
  if (chunk == "VP8X") return {{read.at(24, 3) + 1, read.at(27, 3) + 1}};
  if (chunk == "VP8L") {
    const auto both = read.at(21, 4);
    return {{(both & 0x3FFF) + 1, (both >> 14 & 0x3FFF) + 1}};
  }
  return {{read.at(26, 2) & 0x3FFF, read.at(28, 2) & 0x3FFF}};
}

}  // namespace

Size size_in_header(const std::string& bytes) {
  if (starts_with(bytes, "\x89PNG\r\n\x1a\n")) {
    const Bytes read(bytes, true);
    return {{read.at(16, 4), read.at(20, 4)}};
  }
  if (starts_with(bytes, "\xFF\xD8")) return jpeg_size(bytes);
  if (starts_with(bytes, "BM")) return bmp_size(bytes);
  if (bytes.size() > 2 && bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '6')
    return pnm_size(bytes);
  if (starts_with(bytes, std::string("II*\0", 4)) || starts_with(bytes, std::string("MM\0*", 4)))
    return tiff_size(bytes);
  if (starts_with(bytes, "RIFF") && bytes.size() > 30 && bytes.compare(8, 4, "WEBP") == 0)
    return webp_size(bytes);
  return {};
}

}  // namespace telvar_host
