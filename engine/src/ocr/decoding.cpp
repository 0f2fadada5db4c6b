#include "ocr/decoding.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <unordered_map>

#include "ocr/reading_scale.h"

namespace telvar::ocr {
namespace {

/// Votes within this distance of the strongest one, in characters, mean the same character.
constexpr float kAgreement = 0.22f;
/// A character reaches full strength when so much objectness has voted for it; a lone cell is more
/// often noise.
constexpr float kFullVote = 2.0f;

/// Buckets of the plane, so that only neighbours are compared.
class Buckets {
 public:
  explicit Buckets(float side) : side_(side) {}

  void add(float x, float y, std::size_t index) { cells_[key(x, y, 0, 0)].push_back(index); }

  template <class Visit>
  void around(float x, float y, const Visit& visit) const {
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        const auto found = cells_.find(key(x, y, dx, dy));
        if (found == cells_.end()) continue;
        for (const std::size_t index : found->second) visit(index);
      }
    }
  }

 private:
  std::uint64_t key(float x, float y, int dx, int dy) const {
    const auto column = static_cast<std::int64_t>(std::floor(x / side_)) + dx;
    const auto row = static_cast<std::int64_t>(std::floor(y / side_)) + dy;
    return static_cast<std::uint64_t>(row) << 32 ^ static_cast<std::uint32_t>(column);
  }
  float side_;
  std::unordered_map<std::uint64_t, std::vector<std::size_t>> cells_;
};

/// The mean of some votes, weighted by objectness.
FoundCharacter mean_of(const std::vector<CellVote>& votes, const std::vector<std::size_t>& which) {
  FoundCharacter found;
  found.scores.assign(votes[which.front()].scores.size(), 0);
  float sum = 0, strongest = 0;
  for (const std::size_t index : which) {
    const CellVote& vote = votes[index];
    sum += vote.objectness;
    strongest = std::max(strongest, vote.objectness);
    found.x += vote.objectness * vote.x;
    found.y += vote.objectness * vote.y;
    for (std::size_t k = 0; k < vote.scores.size(); ++k) {
      found.scores[k] += vote.objectness * vote.scores[k];
    }
  }
  found.x /= sum;
  found.y /= sum;
  for (float& score : found.scores) score /= sum;
  found.strength = strongest * std::min(1.0f, sum / kFullVote);
  return found;
}

float rank(const FoundCharacter& character) {
  return character.strength * character.scores[static_cast<std::size_t>(character.best())];
}

std::vector<FoundCharacter> cluster(const std::vector<CellVote>& votes) {
  constexpr float kReach = kAgreement * kReadingCharacter;
  Buckets buckets(kReach);
  for (std::size_t i = 0; i < votes.size(); ++i) buckets.add(votes[i].x, votes[i].y, i);
  std::vector<std::size_t> order(votes.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return votes[a].objectness > votes[b].objectness;
  });
  std::vector<char> used(votes.size(), 0);
  std::vector<FoundCharacter> found;
  for (const std::size_t first : order) {
    if (used[first]) continue;
    std::vector<std::size_t> agreeing;
    buckets.around(votes[first].x, votes[first].y, [&](std::size_t i) {
      if (!used[i] &&
          std::hypot(votes[i].x - votes[first].x, votes[i].y - votes[first].y) < kReach) {
        used[i] = 1;
        agreeing.push_back(i);
      }
    });
    FoundCharacter character = mean_of(votes, agreeing);
    if (character.strength >= kStrengthThreshold && rank(character) >= kFitThreshold) {
      found.push_back(std::move(character));
    }
  }
  return found;
}

/// Beside means within the next place but one of the same line, which may be slanted.
bool stands_beside(const FoundCharacter& a, const FoundCharacter& b) {
  constexpr float kAlong = 2.0f * kReadingCharacter, kAcross = 0.6f * kReadingCharacter;
  return std::abs(a.x - b.x) < kAlong && std::abs(a.y - b.y) < kAcross;
}

std::vector<FoundCharacter> without_doubtful_loners(std::vector<FoundCharacter> characters,
                                                    const Buckets& buckets) {
  std::vector<char> stays(characters.size());
  for (std::size_t i = 0; i < characters.size(); ++i) {
    bool accompanied = false;
    buckets.around(characters[i].x, characters[i].y, [&](std::size_t k) {
      accompanied = accompanied || (k != i && stands_beside(characters[i], characters[k]));
    });
    stays[i] = accompanied || rank(characters[i]) >= kLoneThreshold;
  }
  std::vector<FoundCharacter> rest;
  for (std::size_t i = 0; i < characters.size(); ++i) {
    if (stays[i]) rest.push_back(std::move(characters[i]));
  }
  return rest;
}

}  // namespace

int FoundCharacter::best() const {
  return static_cast<int>(std::max_element(scores.begin(), scores.end()) - scores.begin());
}

std::vector<FoundCharacter> decode(const std::vector<CellVote>& votes, const Spacing& spacing) {
  std::vector<FoundCharacter> found = cluster(votes);
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return rank(a) > rank(b); });
  // No limit of a Spacing reaches further, nor does stands_beside.
  Buckets buckets(2.0f * kReadingCharacter);
  std::vector<FoundCharacter> kept;
  for (FoundCharacter& character : found) {
    bool free = true;
    buckets.around(character.x, character.y, [&](std::size_t i) {
      const float limit = spacing.limit(character.best(), kept[i].best()) * kReadingCharacter;
      free = free && std::hypot(character.x - kept[i].x, character.y - kept[i].y) >= limit;
    });
    if (!free) continue;
    buckets.add(character.x, character.y, kept.size());
    kept.push_back(std::move(character));
  }
  return without_doubtful_loners(std::move(kept), buckets);
}

}  // namespace telvar::ocr
