#include "app/base64.h"

#include <string_view>

namespace telvar_host {
namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string to_base64(const std::string& bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    unsigned group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = (group << 8) | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += i + k > bytes.size() ? '=' : kDigits[(group >> (18 - 6 * k)) & 63];
    }
  }
  return text;
}

std::optional<std::string> from_base64(const std::string& text) {
  std::string bytes;
  unsigned group = 0;
  int bits = 0;
  std::size_t digits = 0, padding = 0;
  for (const char c : text) {
    if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
    ++digits;
    if (c == '=') {
      ++padding;
      continue;
    }
    const auto digit = kDigits.find(c);
    if (digit == std::string_view::npos || padding > 0) return {};
    group = (group << 6) | static_cast<unsigned>(digit);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>((group >> bits) & 0xFF);
  }
  if (digits % 4 != 0 || padding > 2) return {};
  return bytes;
}

}  // namespace telvar_host
