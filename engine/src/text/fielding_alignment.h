#pragma once

// Exact matching of a recognised sample against a pattern by dynamic programming.
//
// The score of an alignment is the sum of the log scores of the categories that its positions take,
// less kSkipCost for every character of the recognised lines that it leaves out. The best one is
// found, not searched for: time is proportional to characters x positions, whatever the pattern.

#include <cstddef>
#include <optional>
#include <vector>

#include "text/fielding_rules.h"
#include "text/recognised_sample.h"

namespace telvar::text {

/// What leaving out a recognised character costs. It is more than taking the least plausible
/// category costs (-ln 0.01 = 4.6), so that no pattern wins by leaving out what another one reads.
constexpr LogScore kSkipCost = 5 * kLogScoreUnit;

/// A recognised character and the class that it was matched with.
struct Match {
  std::size_t character;
  const CharacterClass* allowed;
};

using MatchedLines = std::vector<std::vector<Match>>;

/// The score of the best alignment of `pattern`; kImpossible when there is none.
LogScore best_score(const Pattern& pattern, const RecognisedSample& sample);

/// The best alignment, a line for each of the pattern's; of equal ones that with the earliest
/// lines, then characters. Requires a possible one.
MatchedLines best_alignment(const Pattern& pattern, const RecognisedSample& sample);

/// The characters, ascending, that a basic rule keeps: all of them but doubtful ones that are not
/// allowed or, with a count, too many. Nothing when there is no such choice.
std::optional<std::vector<std::size_t>> choose_characters(const BasicRule& rule,
                                                          const RecognisedSample& sample);

}  // namespace telvar::text
