// Comparing read text with true text.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace telvar_host {

// Code points without white space.
std::u32string letters_of(const std::string& utf8);

// Levenshtein distance: insertions, deletions and substitutions each cost 1 (Levenshtein 1966, by
// the dynamic programme of Wagner and Fischer 1974). Time |a| |b|, memory min(|a|, |b|).
std::size_t edit_distance(const std::u32string& a, const std::u32string& b);

// A shortest way from `expected` to `read`, letter by letter in UTF-8: (expected, read) where equal
// or substituted, (expected, "") where lost, ("", read) where added. Time and memory |a| |b|.
std::vector<std::pair<std::string, std::string>> edit_script(const std::u32string& expected,
                                                             const std::u32string& read);

// One step of an alignment of two sequences of lines: a pair, a true line that was not read, or a
// read line that is not there.
struct LinePair {
  std::optional<std::size_t> truth;
  std::optional<std::size_t> read;
  std::size_t cost = 0;  // edit distance, or the letters of the line that stands alone
};

// Lines aligned in order at least total cost, spaces aside; among those, with most exact pairs.
// When `strays_are_free` a read line without a partner costs nothing.
std::vector<LinePair> align_lines(const std::vector<std::string>& truth,
                                  const std::vector<std::string>& read,
                                  bool strays_are_free = false);

}  // namespace telvar_host
