// The dynamic programme against an enumeration of every alignment.
#include <gmock/gmock.h>

#include <random>

#include "text/fielding_alignment.h"
#include "text_samples.h"

namespace telvar::text {
namespace {

namespace test = telvar::test;

/// Every alignment of the pattern from line `i`, position `p` on, with the read characters from
/// line `j`, character `c` on, by trying to take and to leave each one.
class Enumeration {
 public:
  Enumeration(const Pattern& pattern, const RecognisedSample& sample)
      : pattern_(pattern), sample_(sample) {}

  LogScore best(std::size_t i = 0, std::size_t j = 0) {
    if (j == sample_.lines.size()) return i == pattern_.lines.size() ? 0 : kImpossible;
    LogScore best_score = add(left_out(sample_.lines[j].size()), best(i, j + 1));
    if (i < pattern_.lines.size()) {
      const LogScore rest = best(i + 1, j + 1);
      best_score = std::max(best_score, add(line(pattern_.lines[i], sample_.lines[j], 0, 0), rest));
    }
    return best_score;
  }

 private:
  static LogScore add(LogScore a, LogScore b) {
    return a == kImpossible || b == kImpossible ? kImpossible : a + b;
  }

  static LogScore left_out(std::size_t characters) {
    return -kSkipCost * static_cast<LogScore>(characters);
  }

  LogScore line(const PatternLine& positions, const std::vector<std::size_t>& read, std::size_t p,
                std::size_t c) {
    if (c == read.size()) return p == positions.size() ? 0 : kImpossible;
    LogScore best_score = add(left_out(1), line(positions, read, p, c + 1));
    if (p < positions.size()) {
      const LogScore taken = sample_.characters[read[c]].log_score_in(positions[p]);
      best_score = std::max(best_score, add(taken, line(positions, read, p + 1, c + 1)));
    }
    return best_score;
  }

  const Pattern& pattern_;
  const RecognisedSample& sample_;
};

/// The score that an alignment has by its matches alone; every rule of matching is checked.
LogScore score_of(const MatchedLines& matched, const Pattern& pattern,
                  const RecognisedSample& sample) {
  std::size_t characters = 0;
  for (const auto& line : sample.lines) characters += line.size();
  LogScore score = 0;
  std::size_t next_line = 0;
  EXPECT_EQ(matched.size(), pattern.lines.size());
  for (std::size_t i = 0; i < matched.size(); ++i) {
    EXPECT_EQ(matched[i].size(), pattern.lines[i].size());
    const auto holds_first = [&](const auto& line) {
      return std::find(line.begin(), line.end(), matched[i][0].character) != line.end();
    };
    while (next_line < sample.lines.size() && !holds_first(sample.lines[next_line])) ++next_line;
    const auto& read = sample.lines.at(next_line++);
    auto from = read.begin();
    for (std::size_t p = 0; p < matched[i].size(); ++p) {
      from = std::find(from, read.end(), matched[i][p].character);
      EXPECT_NE(from++, read.end());
      score += sample.characters[matched[i][p].character].log_score_in(pattern.lines[i][p]);
      --characters;
    }
  }
  return score - kSkipCost * static_cast<LogScore>(characters);
}

class RandomCases {
 public:
  explicit RandomCases(unsigned seed) : random_(seed) {}

  RecognisedSample sample() {
    std::vector<std::vector<test::Scores>> lines(below(4));
    for (auto& line : lines) {
      line.resize(below(6));
      for (test::Scores& scores : line) {
        for (unsigned n = below(4); n > 0; --n) scores.emplace_back(letter(), score());
      }
    }
    return parse_recognised_sample(test::sample_of(lines).SerializeAsString());
  }

  Pattern pattern() {
    Pattern pattern{"p", std::vector<PatternLine>(1 + below(2))};
    for (PatternLine& line : pattern.lines) {
      for (unsigned n = 1 + below(3); n > 0; --n) line.emplace_back(letter() + letter());
    }
    return pattern;
  }

 private:
  unsigned below(unsigned n) { return random_() % n; }
  std::string letter() { return std::string(1, static_cast<char>('a' + below(4))); }
  float score() {
    const float scores[] = {1.0f, 0.5f, 0.5f, 0.2f, 0.02f, 0.005f};
    return scores[below(6)];
  }

  std::mt19937 random_;
};

TEST(BestAlignment, IsTheBestOfAll) {
  RandomCases cases(3);
  int possible = 0;
  for (int i = 0; i < 3000; ++i) {
    const RecognisedSample sample = cases.sample();
    const Pattern pattern = cases.pattern();
    const LogScore expected = Enumeration(pattern, sample).best();
    ASSERT_EQ(best_score(pattern, sample), expected) << "case " << i;
    if (expected == kImpossible) continue;
    ++possible;
    ASSERT_EQ(score_of(best_alignment(pattern, sample), pattern, sample), expected) << "case " << i;
  }
  EXPECT_GT(possible, 500);
}

TEST(BasicChoice, IsTheBestOfAll) {
  RandomCases cases(5);
  int possible = 0;
  for (int i = 0; i < 2000; ++i) {
    const RecognisedSample sample = cases.sample();
    const std::size_t size = sample.characters.size();
    if (size > 10) continue;
    const BasicRule rule{CharacterClass("ab"), 1 + i % 5u};
    LogScore best = kImpossible;
    const auto score = [&](const auto& kept) {
      LogScore sum = 0;
      std::size_t count = 0;
      for (std::size_t c = 0; c < size; ++c) {
        const RecognisedCharacter& character = sample.characters[c];
        const LogScore taken = character.log_score_in(rule.allowed);
        if (kept(c) ? taken == kImpossible : !character.doubtful) return kImpossible;
        sum += kept(c) ? taken : -kSkipCost;
        count += kept(c);
      }
      return count == rule.count ? sum : kImpossible;
    };
    for (unsigned set = 0; set < 1u << size; ++set) {
      best = std::max(best, score([set](std::size_t c) { return (set >> c & 1) != 0; }));
    }
    const auto chosen = choose_characters(rule, sample);
    ASSERT_EQ(chosen.has_value(), best != kImpossible) << "case " << i;
    if (!chosen) continue;
    ++possible;
    ASSERT_EQ(
        score([&](std::size_t c) { return std::binary_search(chosen->begin(), chosen->end(), c); }),
        best)
        << "case " << i;
  }
  EXPECT_GT(possible, 100);
}

}  // namespace
}  // namespace telvar::text
