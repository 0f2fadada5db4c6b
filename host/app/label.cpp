#include "app/label.h"

#include <utf8proc.h>

#include <cstdlib>
#include <memory>

#include "app/text.h"

namespace telvar_host {
namespace {

std::string mapped(std::string_view text, int options) {
  utf8proc_uint8_t* bytes = nullptr;
  const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                   static_cast<utf8proc_ssize_t>(text.size()), &bytes,
                                   static_cast<utf8proc_option_t>(options));
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(bytes, &std::free);
  if (length < 0) return std::string(text);
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)};
}

bool is_space(char32_t point) {
  if (point < 0x80) return point == U' ' || (point >= U'\t' && point <= U'\r');
  if (point >= 0xD800 && point < 0xE000) return false;  // a byte that is no UTF-8
  const auto category = utf8proc_category(static_cast<utf8proc_int32_t>(point));
  return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP || point == 0x85 || point == 0xFEFF;
}

// Letters that most fonts draw alike.
char32_t latin_like(char32_t point) {
  static constexpr std::u32string_view kLetters = U"ΑΒΕΖΗΙΚΜΝΟΡΤΥΧοАВЕЅІЈКМНОРСТХаеоріјѕсху";
  static constexpr std::u32string_view kLatin = U"ABEZHIKMNOPTYXoABESIJKMHOPCTXaeopijscxy";
  static_assert(kLetters.size() == kLatin.size());
  const auto at = kLetters.find(point);
  return at == std::u32string_view::npos ? point : kLatin[at];
}

}  // namespace

std::string normal_form(std::string_view text) {
  return mapped(text, UTF8PROC_STABLE | UTF8PROC_COMPOSE);
}

std::string clean_label(std::string_view text) {
  const auto label = normal_form(text);
  const auto points = code_points(label);
  std::size_t first = 0, last = points.size();
  while (first < last && is_space(points[first])) ++first;
  while (last > first && is_space(points[last - 1])) --last;
  std::string clean;
  for (std::size_t i = first; i < last; ++i) clean += utf8_of(points[i]);
  return clean;
}

std::string look_of(std::string_view label) {
  const int form = UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_COMPAT | UTF8PROC_IGNORE;
  std::string look;
  bool spaced = false;
  for (const char32_t point : code_points(mapped(label, form))) {
    if (!is_space(point)) {
      if (spaced && !look.empty()) look += ' ';
      look += utf8_of(latin_like(point));
    }
    spaced = is_space(point);
  }
  // The reader tells the capital and the small form of a single character apart.
  return code_points(look).size() > 1 ? mapped(look, form | UTF8PROC_CASEFOLD) : look;
}

}  // namespace telvar_host
