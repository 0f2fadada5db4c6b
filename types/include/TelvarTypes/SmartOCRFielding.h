#pragma once

// Fielding: matching what was read against patterns of allowed characters. A pattern decides again
// between the category scores of each character, within the allowed ones.
//
//   AdvancedFielding fielding;
//   fielding.patterns["date"] = {{"0123", "0123456789", ".", "01", "0123456789"}};

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "TelvarTypes/Export.h"
#include "TelvarTypes/SmartOCRSample.h"

namespace Orbalt::TelvarWrapper::Types::SmartOCR {

/// One class of characters for every position.
struct TELVAR_TYPES_API BasicFielding {
  BasicFielding();
  BasicFielding(std::string allowedCharacters, std::int32_t count = 0);
  TELVAR_TYPES_VALUE_OPERATIONS(BasicFielding);

  /// The allowed characters as UTF-8 code points. Must not be empty.
  std::string allowedCharacters;

  /// How many characters the fielded sample must have; 0: any number but none. Not negative.
  std::int32_t count = 0;
};

/// Named patterns, at least one; the best fitting one wins, ties by name.
struct TELVAR_TYPES_API AdvancedFielding {
  AdvancedFielding();
  AdvancedFielding(std::unordered_map<std::string, std::vector<std::vector<std::string>>> patterns);
  TELVAR_TYPES_VALUE_OPERATIONS(AdvancedFielding);

  /// By name: the pattern's lines, top to bottom; of each line the allowed characters (UTF-8) per
  /// position, in reading order. No pattern, line or position may be empty.
  std::unordered_map<std::string, std::vector<std::vector<std::string>>> patterns;
};

/// The pattern that matched, and the sample as it reads under that pattern.
struct TELVAR_TYPES_API FieldingResult {
  FieldingResult();
  FieldingResult(Sample sample, std::string patternName = {});
  TELVAR_TYPES_VALUE_OPERATIONS(FieldingResult);

  /// The matched characters only, their scores restricted to the allowed categories and summing to
  /// 1 again, with the re-decided lines. Default-constructed when no fielding was asked for.
  Sample sample;

  /// Key of the matching pattern in `AdvancedFielding::patterns`. Empty after basic fielding, and
  /// when no fielding was asked for.
  std::string patternName;
};

}  // namespace Orbalt::TelvarWrapper::Types::SmartOCR
