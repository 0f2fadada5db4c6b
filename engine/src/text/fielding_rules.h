#pragma once

// What a Fielding message asks for, checked and ready to be matched.

#include <bitset>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "text/utf8.h"

namespace telvar::text {

/// The characters allowed at one position.
class CharacterClass {
 public:
  /// `allowed`: the characters one after another; repetitions are of no account.
  explicit CharacterClass(const std::string& allowed);

  bool empty() const { return ascii_.none() && others_.empty(); }
  bool contains(Character character) const;

 private:
  std::bitset<128> ascii_;
  std::vector<Character> others_;  // ascending
};

using PatternLine = std::vector<CharacterClass>;  ///< in reading order; never empty

struct Pattern {
  std::string name;
  std::vector<PatternLine> lines;  ///< top to bottom; never empty
};

/// One class for every character of a sample.
struct BasicRule {
  CharacterClass allowed;
  std::size_t count;  ///< of characters; 0: any number but none
};

/// Either a basic rule or patterns, by ascending bytes of their names.
struct FieldingRules {
  std::optional<BasicRule> basic;
  std::vector<Pattern> patterns;
};

/// Reads a serialised Fielding message. Throws invalid_message; invalid_parameters for an empty
/// pattern, line or class, a negative count, and when not exactly one fielding is set.
FieldingRules parse_fielding(const std::string& message);

}  // namespace telvar::text
