#include "ocr/experts/decoding.h"

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
/// often noise. About 16 cells vote for a character that is seen well.
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
    if (character.strength >= kDoubtfulStrength && rank(character) >= kDoubtfulFit) {
      found.push_back(std::move(character));
    }
  }
  return found;
}

bool is_certain(const FoundCharacter& character) {
  return character.strength >= kStrengthThreshold && rank(character) >= kFitThreshold;
}

/// Whether a character stands within two places of another one on the same line, which may slant.
bool stands_beside(const FoundCharacter& a, const FoundCharacter& b) {
  constexpr float kAlong = 2.0f * kReadingCharacter, kAcross = 0.6f * kReadingCharacter;
  return std::abs(a.x - b.x) < kAlong && std::abs(a.y - b.y) < kAcross;
}

/// Decides which of the characters found are read.
class Selection {
 public:
  explicit Selection(const std::vector<FoundCharacter>& characters)
      : characters_(characters), buckets_(kReach), read_(characters.size()) {
    for (std::size_t i = 0; i < characters.size(); ++i) {
      buckets_.add(characters[i].x, characters[i].y, i);
    }
  }

  const std::vector<char>& select() {
    for (std::size_t i = 0; i < characters_.size(); ++i) {
      read_[i] =
          is_certain(characters_[i]) && (rank(characters_[i]) >= kLoneThreshold || has_company(i));
    }
    // Each one that is read may be the neighbour that the next one needs.
    while (take_doubtful()) {
    }
    return read_;
  }

 private:
  static constexpr float kReach = 4.0f * kReadingCharacter;
  /// How far off the course of its line a character may stand, as a full stop does.
  static constexpr float kOffCourse = 0.35f * kReadingCharacter;
  /// The steepest course, in rows per column.
  static constexpr float kSteepest = 0.3f;
  /// The distance to the next character, as a share of the distance between the line's characters.
  static constexpr float kNarrow = 0.6f, kWide = 1.45f;
  /// Characters that stand farther apart are no line.
  static constexpr float kFarthest = 1.7f * kReadingCharacter;
  /// More neighbours are not looked at, which bounds the time that crowded places take; no text has
  /// so many.
  static constexpr std::size_t kMostNeighbours = 32;

  bool has_company(std::size_t index) const {
    bool found = false;
    buckets_.around(characters_[index].x, characters_[index].y, [&](std::size_t k) {
      found = found || (k != index && is_certain(characters_[k]) &&
                        stands_beside(characters_[index], characters_[k]));
    });
    return found;
  }

  bool take_doubtful() {
    bool any = false;
    for (std::size_t i = 0; i < characters_.size(); ++i) {
      if (read_[i] || !has_a_place(i)) continue;
      read_[i] = 1;
      any = true;
    }
    return any;
  }

  /// Whether two neighbours on one side, or one on each, have the character on their course and at
  /// their distance.
  bool has_a_place(std::size_t index) const {
    const FoundCharacter& at = characters_[index];
    std::vector<const FoundCharacter*> near;
    buckets_.around(at.x, at.y, [&](std::size_t k) {
      const FoundCharacter& other = characters_[k];
      if (!read_[k] || near.size() == kMostNeighbours) return;
      if (std::hypot(other.x - at.x, other.y - at.y) < kReach) near.push_back(&other);
    });
    for (const FoundCharacter* a : near) {
      for (const FoundCharacter* b : near) {
        if (a->x < b->x && fits(at, *a, *b)) return true;
      }
    }
    return false;
  }

  static bool fits(const FoundCharacter& at, const FoundCharacter& left,
                   const FoundCharacter& right) {
    const float run = right.x - left.x, lean = (right.y - left.y) / run;
    if (run < 0.3f * kReadingCharacter || std::abs(lean) > kSteepest) return false;
    if (std::abs(at.y - left.y - lean * (at.x - left.x)) > kOffCourse) return false;
    const bool between = at.x > left.x && at.x < right.x;
    const float expected = between ? run / 2 : run;
    if (expected > kFarthest) return false;
    const float nearest = std::min(std::abs(at.x - left.x), std::abs(at.x - right.x));
    return nearest > kNarrow * expected && nearest < kWide * expected;
  }

  const std::vector<FoundCharacter>& characters_;
  Buckets buckets_;
  std::vector<char> read_;
};

}  // namespace

int FoundCharacter::best() const {
  return static_cast<int>(std::max_element(scores.begin(), scores.end()) - scores.begin());
}

void sharpen(std::vector<float>& scores, float sharpness) {
  if (sharpness == 1) return;
  const double before = std::accumulate(scores.begin(), scores.end(), 0.0);
  const float highest = *std::max_element(scores.begin(), scores.end());
  double sum = 0;
  for (float& score : scores) sum += score = std::pow(score / highest, sharpness);
  for (float& score : scores) score = static_cast<float>(score * before / sum);
}

std::vector<FoundCharacter> decode(const std::vector<CellVote>& votes, const Spacing& spacing) {
  std::vector<FoundCharacter> found = cluster(votes);
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return rank(a) > rank(b); });
  Buckets buckets(2.0f * kReadingCharacter);  // no limit of a Spacing reaches further
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
  Selection selection(kept);
  const std::vector<char>& read = selection.select();
  std::vector<FoundCharacter> result;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (read[i]) result.push_back(std::move(kept[i]));
  }
  return result;
}

}  // namespace telvar::ocr
