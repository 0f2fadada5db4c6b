#include "evaluation/mark_matching.h"

#include <algorithm>
#include <cmath>

namespace telvar_host {

std::vector<std::optional<std::size_t>> match_marks(
    const std::vector<std::pair<double, double>>& marks, const std::vector<ReadCharacter>& read,
    const NominalSize& size) {
  struct Candidate {
    double distance;
    std::size_t mark, reading;
  };
  std::vector<Candidate> candidates;
  for (std::size_t m = 0; m < marks.size(); ++m) {
    for (std::size_t r = 0; r < read.size(); ++r) {
      const double distance = std::hypot((read[r].x - marks[m].first) / size.width,
                                         (read[r].y - marks[m].second) / size.height);
      if (distance <= 0.5) candidates.push_back({distance, m, r});
    }
  }
  std::sort(candidates.begin(), candidates.end(), [](const auto& a, const auto& b) {
    return std::tie(a.distance, a.mark, a.reading) < std::tie(b.distance, b.mark, b.reading);
  });
  std::vector<std::optional<std::size_t>> matched(marks.size());
  std::vector<bool> used(read.size());
  for (const auto& candidate : candidates) {
    if (matched[candidate.mark] || used[candidate.reading]) continue;
    matched[candidate.mark] = candidate.reading;
    used[candidate.reading] = true;
  }
  return matched;
}

}  // namespace telvar_host
