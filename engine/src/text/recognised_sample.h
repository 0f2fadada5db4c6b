#pragma once

// A recognised sample as fielding looks at it: what each character may be, and how likely.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "telvar_msg/ocr_result.pb.h"
#include "text/fielding_rules.h"
#include "text/utf8.h"

namespace telvar::text {

/// A category whose score is below this share is no reading of a character, whatever a pattern
/// allows.
constexpr float kPlausibleScore = 0.01f;

/// A character whose best score or detection strength is below this may be no character at all.
constexpr float kDoubtfulScore = 0.5f;

/// Natural logarithms of scores in units of 2^-32: sums are exact, so that equal alignments tie
/// whatever the order of the additions.
using LogScore = std::int64_t;
constexpr LogScore kLogScoreUnit = LogScore{1} << 32;
constexpr LogScore kImpossible = INT64_MIN;

/// A score as fielding takes it: within 0..1, not-a-number as 0.
double usable_score(float score);

struct RecognisedCharacter {
  struct Candidate {
    Character character;
    LogScore log_score;
  };

  /// The log score of the best plausible category in `allowed`, else kImpossible.
  LogScore log_score_in(const CharacterClass& allowed) const;

  std::vector<Candidate> candidates;  ///< plausible single characters, best first
  bool doubtful = false;
};

struct RecognisedSample {
  telvar_msg::qv::ocr::SampleResult message;
  std::vector<RecognisedCharacter> characters;
  std::vector<std::vector<std::size_t>> lines;  ///< positions in `characters`; may be empty
};

/// Reads a serialised SampleResult. Throws invalid_message, also when a line names a character that
/// does not exist or that stands in a line already.
RecognisedSample parse_recognised_sample(const std::string& message);

}  // namespace telvar::text
