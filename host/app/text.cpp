#include "app/text.h"

#include <charconv>
#include <cmath>

namespace telvar_host {
namespace {

// Length of the well-formed UTF-8 sequence at the start of `text`, 0 when there is none.
std::size_t sequence_length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0x80                    ? 1
                             : lead >= 0xC2 && lead <= 0xDF ? 2
                             : lead >= 0xE0 && lead <= 0xEF ? 3
                             : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                            : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  // Overlong forms, surrogates, and what lies beyond U+10FFFF.
  if ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) ||
      (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F)) {
    return 0;
  }
  return length;
}

char32_t decode(std::string_view sequence) {
  static constexpr unsigned char kLeadMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t value = static_cast<unsigned char>(sequence[0]) & kLeadMask[sequence.size()];
  for (std::size_t i = 1; i < sequence.size(); ++i) {
    value = (value << 6) | (static_cast<unsigned char>(sequence[i]) & 0x3F);
  }
  return value;
}

}  // namespace

std::string fixed(double value, int digits) {
  if (!std::isfinite(value)) return "-";
  char buffer[400];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, digits);
  return std::string(buffer, end.ptr);
}

std::optional<double> parse_number(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return {};
  return value;
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  const std::string& thing = count == 1 ? one : many;
  return std::to_string(count) + " " + (thing.empty() ? one + "s" : thing);
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == separator) {
      parts.emplace_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  return parts;
}

std::string trimmed(std::string_view text) {
  static constexpr std::string_view kSpace = " \t\r\n";
  const auto first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(kSpace) - first + 1));
}

std::vector<std::string> split_lines(std::string_view text) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  auto lines = split(text, '\n');
  if (!lines.empty() && lines.back().empty()) lines.pop_back();
  for (auto& line : lines) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
  }
  return lines;
}

std::u32string code_points(std::string_view utf8) {
  std::u32string points;
  while (!utf8.empty()) {
    const auto length = sequence_length(utf8);
    if (length == 0) {
      points.push_back(0xDC00 + static_cast<unsigned char>(utf8[0]));
    } else {
      points.push_back(decode(utf8.substr(0, length)));
    }
    utf8.remove_prefix(length == 0 ? 1 : length);
  }
  return points;
}

std::string utf8_of(char32_t point) {
  const auto byte = [](char32_t value) {
    return static_cast<char>(static_cast<unsigned char>(value));
  };
  if (point >= 0xDC00 && point <= 0xDCFF) return {byte(point - 0xDC00)};
  if (point < 0x80) return {byte(point)};
  if (point < 0x800) return {byte(0xC0 | (point >> 6)), byte(0x80 | (point & 0x3F))};
  if (point < 0x10000) {
    return {byte(0xE0 | (point >> 12)), byte(0x80 | ((point >> 6) & 0x3F)),
            byte(0x80 | (point & 0x3F))};
  }
  return {byte(0xF0 | (point >> 18)), byte(0x80 | ((point >> 12) & 0x3F)),
          byte(0x80 | ((point >> 6) & 0x3F)), byte(0x80 | (point & 0x3F))};
}

bool is_isolate(char32_t point) {
  return point == U'\u2068' || point == U'\u2069';
}

std::string isolated(const std::string& text) {
  return utf8_of(U'\u2068') + text + utf8_of(U'\u2069');
}

std::size_t code_point_count(std::string_view utf8) {
  return code_points(utf8).size();
}

std::string padded(std::string_view text, std::size_t width) {
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    out += byte < 0x20 || byte == 0x7F ? "\xEF\xBF\xBD" : std::string(1, c);
  }
  const auto used = code_point_count(out);
  return used < width ? out.append(width - used, ' ') : out;
}

std::string html_escaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string utf8(const std::filesystem::path& path) {
  return path.generic_u8string();
}

std::filesystem::path path_from_utf8(const std::string& text) {
  return std::filesystem::u8path(text);
}

}  // namespace telvar_host
