#pragma once

// What the character reader has read. Vectors stand behind shared pointers: a copy of a record
// shares them. All scores come from the engine, in its order; nothing is sorted, filtered or
// reduced to a winner. Positions are in region pixels, or image pixels without a region. Meanings
// given for values are the embedded engine's.

#include <memory>
#include <string>
#include <vector>

#include "TelvarTypes/Export.h"

namespace Orbalt::TelvarWrapper::Types::SmartOCR {

/// How well one category fits one character.
struct TELVAR_TYPES_API CharacterCategoryResult {
  CharacterCategoryResult();
  CharacterCategoryResult(std::string categoryId, double score = 0.0);
  TELVAR_TYPES_VALUE_OPERATIONS(CharacterCategoryResult);

  /// The category's identifier as it was trained, any bytes.
  std::string categoryId;

  /// Probability of the category, 0..1.
  double score = 0.0;
};

/// One character that was read.
struct TELVAR_TYPES_API CharacterResult {
  CharacterResult();
  CharacterResult(double firstValue, double secondValue = 0.0, double thirdValue = 0.0,
                  std::shared_ptr<std::vector<CharacterCategoryResult>> categoryResults = nullptr);
  TELVAR_TYPES_VALUE_OPERATIONS(CharacterResult);

  /// Horizontal position of the character's centre, region pixels.
  double firstValue = 0.0;

  /// Vertical position of the character's centre, region pixels.
  double secondValue = 0.0;

  /// Detection strength, 0..1.
  double thirdValue = 0.0;

  /// A score for every known category, best first, summing to at most 1. Never null in a result of
  /// `Process`; null in a default-constructed record.
  std::shared_ptr<std::vector<CharacterCategoryResult>> categoryResults;
};

/// One line of text.
struct TELVAR_TYPES_API Line {
  Line();
  Line(std::string text, std::vector<int> indexes = {});
  TELVAR_TYPES_VALUE_OPERATIONS(Line);

  /// The best category identifiers of the line's characters, concatenated in reading order.
  std::string text;

  /// Positions in the sample's `characters`, counted from 0, in reading order. Passed on as the
  /// engine gives them, without a range check.
  std::vector<int> indexes;
};

/// Everything that was read in one image or region.
struct TELVAR_TYPES_API Sample {
  Sample();
  Sample(double firstValue, double secondValue = 0.0,
         std::shared_ptr<std::vector<CharacterResult>> characters = nullptr,
         std::shared_ptr<std::vector<Line>> lines = nullptr);
  TELVAR_TYPES_VALUE_OPERATIONS(Sample);

  /// Mean of the characters' best category scores, 0..1; 0 when nothing was read.
  double firstValue = 0.0;

  /// Lowest of the characters' best category scores, 0..1; 0 when nothing was read.
  double secondValue = 0.0;

  /// The characters. Empty when nothing was read; null only in a default-constructed record.
  std::shared_ptr<std::vector<CharacterResult>> characters;

  /// The lines, top to bottom. Empty when nothing was read; null only in a default-constructed
  /// record.
  std::shared_ptr<std::vector<Line>> lines;
};

}  // namespace Orbalt::TelvarWrapper::Types::SmartOCR
