#include "metrics/text_metrics.h"

#include <algorithm>
#include <tuple>

#include "app/text.h"

namespace telvar_host {
namespace {

// What the last step of an alignment takes: a true line and one that was read, or one of them.
// Earlier kinds are preferred.
enum class Step { kPair, kTruthAlone, kReadAlone, kNone };

// The best alignment of the first lines of both sides.
struct Cell {
  std::size_t cost = 0;   // characters wrong, missing or too many
  std::size_t exact = 0;  // pairs without an error
  Step step = Step::kPair;
};

bool better(const Cell& a, const Cell& b) {
  // The one with fewer errors; of equals, that with more exact pairs, then the earlier kind of
  // step.
  return std::make_tuple(a.cost, -static_cast<long>(a.exact), a.step) <
         std::make_tuple(b.cost, -static_cast<long>(b.exact), b.step);
}

std::vector<std::u32string> letters_of_all(const std::vector<std::string>& lines) {
  std::vector<std::u32string> letters;
  letters.reserve(lines.size());
  for (const auto& line : lines) letters.push_back(letters_of(line));
  return letters;
}

using Table = std::vector<std::vector<Cell>>;

Table fill(const std::vector<std::u32string>& truth, const std::vector<std::u32string>& read,
           bool strays_are_free) {
  Table table(truth.size() + 1, std::vector<Cell>(read.size() + 1));
  const auto stray_cost = [&](std::size_t j) { return strays_are_free ? 0 : read[j].size(); };
  for (std::size_t i = 0; i <= truth.size(); ++i) {
    for (std::size_t j = 0; j <= read.size(); ++j) {
      if (i == 0 && j == 0) continue;
      Cell best{static_cast<std::size_t>(-1), 0, Step::kNone};
      const auto offer = [&](const Cell& candidate) {
        if (better(candidate, best)) best = candidate;
      };
      if (i > 0 && j > 0) {
        const auto& before = table[i - 1][j - 1];
        const auto distance = edit_distance(truth[i - 1], read[j - 1]);
        offer({before.cost + distance, before.exact + (distance == 0 ? 1 : 0), Step::kPair});
      }
      if (i > 0) {
        const auto& before = table[i - 1][j];
        offer({before.cost + truth[i - 1].size(), before.exact, Step::kTruthAlone});
      }
      if (j > 0) {
        const auto& before = table[i][j - 1];
        offer({before.cost + stray_cost(j - 1), before.exact, Step::kReadAlone});
      }
      table[i][j] = best;
    }
  }
  return table;
}

}  // namespace

std::u32string letters_of(const std::string& utf8) {
  auto points = code_points(utf8);
  points.erase(std::remove_if(points.begin(), points.end(),
                              [](char32_t c) {
                                return c == U' ' || (c >= 9 && c <= 13) || c == 0xA0 || c == 0x3000;
                              }),
               points.end());
  return points;
}

std::size_t edit_distance(const std::u32string& a, const std::u32string& b) {
  if (a.size() < b.size()) return edit_distance(b, a);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t substituted = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({substituted, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

std::vector<std::pair<std::string, std::string>> edit_script(const std::u32string& expected,
                                                             const std::u32string& read) {
  const std::size_t columns = read.size() + 1;
  std::vector<std::size_t> costs((expected.size() + 1) * columns);
  const auto cost = [&](std::size_t i, std::size_t j) -> std::size_t& {
    return costs[i * columns + j];
  };
  for (std::size_t i = 0; i <= expected.size(); ++i) {
    for (std::size_t j = 0; j <= read.size(); ++j) {
      if (i == 0 || j == 0) {
        cost(i, j) = i + j;
      } else {
        const std::size_t pair = cost(i - 1, j - 1) + (expected[i - 1] == read[j - 1] ? 0 : 1);
        cost(i, j) = std::min({pair, cost(i - 1, j) + 1, cost(i, j - 1) + 1});
      }
    }
  }
  std::vector<std::pair<std::string, std::string>> script;
  for (std::size_t i = expected.size(), j = read.size(); i > 0 || j > 0;) {
    const bool both = i > 0 && j > 0;
    const bool pair =
        both && cost(i, j) == cost(i - 1, j - 1) + (expected[i - 1] == read[j - 1] ? 0 : 1);
    const bool lost = !pair && i > 0 && cost(i, j) == cost(i - 1, j) + 1;
    script.emplace_back(pair || lost ? utf8_of(expected[i - 1]) : std::string(),
                        lost ? std::string() : utf8_of(read[j - 1]));
    if (pair || lost) --i;
    if (!lost) --j;
  }
  std::reverse(script.begin(), script.end());
  return script;
}

std::vector<LinePair> align_lines(const std::vector<std::string>& truth,
                                  const std::vector<std::string>& read, bool strays_are_free) {
  const auto true_letters = letters_of_all(truth);
  const auto read_letters = letters_of_all(read);
  const auto table = fill(true_letters, read_letters, strays_are_free);
  std::vector<LinePair> pairs;
  for (std::size_t i = truth.size(), j = read.size(); i > 0 || j > 0;) {
    const Step step = table[i][j].step;
    LinePair pair;
    if (step != Step::kReadAlone) pair.truth = --i;
    if (step != Step::kTruthAlone) pair.read = --j;
    pair.cost = step == Step::kPair         ? edit_distance(true_letters[i], read_letters[j])
                : step == Step::kTruthAlone ? true_letters[i].size()
                                            : read_letters[j].size();
    pairs.push_back(pair);
  }
  std::reverse(pairs.begin(), pairs.end());
  return pairs;
}

}  // namespace telvar_host
