#include "text/fielding_alignment.h"

#include <algorithm>

namespace telvar::text {
namespace {

using RecognisedLine = std::vector<std::size_t>;

LogScore plus(LogScore a, LogScore b) {
  return a == kImpossible || b == kImpossible ? kImpossible : a + b;
}

/// Fills the table of one pattern line against one recognised line, row by row. After row p, which
/// counts from 0, `best[s]` is the best score of the first p + 1 positions with s characters left
/// out before or between them. `on_match(p, s)`: position p takes character p + s in the best
/// alignment up to there.
template <typename OnMatch>
LogScore align_line(const PatternLine& line, const RecognisedLine& recognised,
                    const RecognisedSample& sample, OnMatch on_match) {
  if (recognised.size() < line.size()) return kImpossible;
  const std::size_t spare = recognised.size() - line.size();
  // Row p is kept from its character p on: best[s] is the score with s characters left out.
  std::vector<LogScore> best(spare + 1);
  for (std::size_t s = 0; s <= spare; ++s) best[s] = -kSkipCost * static_cast<LogScore>(s);
  for (std::size_t p = 0; p < line.size(); ++p) {
    for (std::size_t s = 0; s <= spare; ++s) {
      const RecognisedCharacter& character = sample.characters[recognised[p + s]];
      const LogScore taken = plus(best[s], character.log_score_in(line[p]));
      const LogScore skipped = s > 0 ? plus(best[s - 1], -kSkipCost) : kImpossible;
      best[s] = std::max(taken, skipped);
      if (taken > skipped) on_match(p, s);
    }
  }
  return best[spare];
}

/// The best matches of a pattern line within a recognised line. Requires that there are some.
std::vector<Match> trace_line(const PatternLine& line, const RecognisedLine& recognised,
                              const RecognisedSample& sample) {
  const std::size_t width = recognised.size() - line.size() + 1;
  std::vector<bool> matched(line.size() * width);
  align_line(line, recognised, sample,
             [&](std::size_t p, std::size_t s) { matched[p * width + s] = true; });
  std::vector<Match> matches(line.size());
  std::size_t s = width - 1;
  for (std::size_t p = line.size(); p-- > 0;) {
    while (!matched[p * width + s]) --s;
    matches[p] = {recognised[p + s], &line[p]};
  }
  return matches;
}

/// Fills the table of pattern lines against recognised lines in the same way; `on_match(i, s)`:
/// pattern line i takes recognised line i + s in the best alignment up to there.
template <typename OnMatch>
LogScore align_lines(const Pattern& pattern, const std::vector<const RecognisedLine*>& lines,
                     const RecognisedSample& sample, OnMatch on_match) {
  if (lines.size() < pattern.lines.size()) return kImpossible;
  const std::size_t spare = lines.size() - pattern.lines.size();
  const auto skip_cost = [&](std::size_t j) {
    return -kSkipCost * static_cast<LogScore>(lines[j]->size());
  };
  std::vector<LogScore> best(spare + 1);
  for (std::size_t s = 1; s <= spare; ++s) best[s] = best[s - 1] + skip_cost(s - 1);
  for (std::size_t i = 0; i < pattern.lines.size(); ++i) {
    for (std::size_t s = 0; s <= spare; ++s) {
      LogScore taken = kImpossible;
      if (best[s] != kImpossible) {
        taken = plus(best[s], align_line(pattern.lines[i], *lines[i + s], sample,
                                         [](std::size_t, std::size_t) {}));
      }
      const LogScore skipped = s > 0 ? plus(best[s - 1], skip_cost(i + s)) : kImpossible;
      best[s] = std::max(taken, skipped);
      if (taken > skipped) on_match(i, s);
    }
  }
  return best[spare];
}

/// Recognised lines that hold characters; the others take part in nothing.
std::vector<const RecognisedLine*> filled_lines(const RecognisedSample& sample) {
  std::vector<const RecognisedLine*> lines;
  for (const RecognisedLine& line : sample.lines) {
    if (!line.empty()) lines.push_back(&line);
  }
  return lines;
}

/// Leaves `count` of `chosen` by dropping the doubtful ones with the lowest scores, the last ones
/// of equals. False when too few are doubtful.
bool drop_doubtful(std::vector<std::size_t>& chosen, std::size_t count, const BasicRule& rule,
                   const RecognisedSample& sample) {
  std::vector<std::size_t> doubtful;
  for (auto i = chosen.rbegin(); i != chosen.rend(); ++i) {
    if (sample.characters[*i].doubtful) doubtful.push_back(*i);
  }
  const std::size_t surplus = chosen.size() - count;
  if (doubtful.size() < surplus) return false;
  std::stable_sort(doubtful.begin(), doubtful.end(), [&](std::size_t a, std::size_t b) {
    return sample.characters[a].log_score_in(rule.allowed) <
           sample.characters[b].log_score_in(rule.allowed);
  });
  doubtful.resize(surplus);
  std::sort(doubtful.begin(), doubtful.end());
  const auto dropped = [&](std::size_t c) {
    return std::binary_search(doubtful.begin(), doubtful.end(), c);
  };
  chosen.erase(std::remove_if(chosen.begin(), chosen.end(), dropped), chosen.end());
  return true;
}

}  // namespace

LogScore best_score(const Pattern& pattern, const RecognisedSample& sample) {
  return align_lines(pattern, filled_lines(sample), sample, [](std::size_t, std::size_t) {});
}

MatchedLines best_alignment(const Pattern& pattern, const RecognisedSample& sample) {
  const std::vector<const RecognisedLine*> lines = filled_lines(sample);
  const std::size_t width = lines.size() - pattern.lines.size() + 1;
  std::vector<bool> matched(pattern.lines.size() * width);
  align_lines(pattern, lines, sample,
              [&](std::size_t i, std::size_t s) { matched[i * width + s] = true; });
  MatchedLines result(pattern.lines.size());
  std::size_t s = width - 1;
  for (std::size_t i = pattern.lines.size(); i-- > 0;) {
    while (!matched[i * width + s]) --s;
    result[i] = trace_line(pattern.lines[i], *lines[i + s], sample);
  }
  return result;
}

std::optional<std::vector<std::size_t>> choose_characters(const BasicRule& rule,
                                                          const RecognisedSample& sample) {
  std::vector<std::size_t> chosen;
  for (std::size_t i = 0; i < sample.characters.size(); ++i) {
    const RecognisedCharacter& character = sample.characters[i];
    if (character.log_score_in(rule.allowed) != kImpossible) {
      chosen.push_back(i);
    } else if (!character.doubtful) {
      return std::nullopt;
    }
  }
  if (chosen.size() < std::max<std::size_t>(rule.count, 1)) return std::nullopt;
  if (rule.count > 0 && !drop_doubtful(chosen, rule.count, rule, sample)) return std::nullopt;
  return chosen;
}

}  // namespace telvar::text
