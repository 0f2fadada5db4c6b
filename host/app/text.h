// Text helpers that never depend on the locale.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace telvar_host {

// `value` with `digits` decimals and a point, whatever the locale.
std::string fixed(double value, int digits);

// The whole of `text` as a finite number, or nothing. Accepts what a C literal would: "3", "-0.5",
// "1e3".
std::optional<double> parse_number(std::string_view text);

// "1 image", "2 images"; `many` where the plural is no mere s.
std::string counted(std::size_t count, const std::string& one, const std::string& many = "");

std::vector<std::string> split(std::string_view text, char separator);
std::string trimmed(std::string_view text);
// Lines without their ends; accepts LF and CR LF. A UTF-8 byte order mark is dropped.
std::vector<std::string> split_lines(std::string_view text);

// Code points of UTF-8 text. A byte that is not UTF-8 stands for itself (as U+DC00 + byte), so that
// two different strings never compare equal.
std::u32string code_points(std::string_view utf8);
// One code point of those as bytes again.
std::string utf8_of(char32_t point);
// `text` between marks that keep its direction of writing to itself: without them, the percentage
// behind an Arabic name would be shown with its sign in front. The marks are invisible.
std::string isolated(const std::string& text);
// Whether a code point is one of those marks.
bool is_isolate(char32_t point);
// The number of code points of UTF-8 text.
std::size_t code_point_count(std::string_view utf8);
// `text` with spaces up to `width` code points, for a column of a table: longer text stays whole,
// control characters (a line end in a name) become U+FFFD. A wide character, which takes two
// columns of a terminal, counts once, so that its row stands out.
std::string padded(std::string_view text, std::size_t width);

std::string html_escaped(std::string_view text);

// A path as UTF-8 with forward slashes.
std::string utf8(const std::filesystem::path& path);
std::filesystem::path path_from_utf8(const std::string& text);

}  // namespace telvar_host
