#include "segmenter/held_out.h"

#include <algorithm>
#include <numeric>

#include "core/random.h"
#include "segmenter/limits.h"

namespace telvar::segmenter {
namespace {

/// So many pixels are judged: enough for a score, and more would cost as much as a round.
constexpr std::size_t kJudgedPixels = 2'000'000;

/// One sample in so many is held out, but at least one, and at most ten, for the sake of what
/// teaches.
constexpr std::size_t kHeldOutOf = 5, kMostHeldOut = 10;

std::uint64_t categories_in(const TrainingTile& tile) {
  std::uint64_t present = 0;
  for (const LabelPlane& plane : tile.labels) present |= std::uint64_t{1} << plane.category;
  return present;
}

/// A tile that shows the category, of a sample held out if there is one; or null.
const TrainingTile* tile_showing(int category, const std::vector<PreparedSample>& samples,
                                 const std::vector<bool>& held) {
  for (const bool wanted : {true, false}) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      if (held[i] != wanted) continue;
      for (const TrainingTile& tile : samples[i].tiles) {
        if (find_label(tile, category) != nullptr) return &tile;
      }
    }
  }
  return nullptr;
}

class HeldOutChoice {
 public:
  HeldOutChoice(const std::vector<PreparedSample>& samples, int categories)
      : left_(count_occurrences(samples, categories)), held_(samples.size()) {
    for (const PreparedSample& sample : samples) present_.push_back(categories_in(sample));
  }

  /// Holds out the first of `order` that adds to what is judged (or any), if one can be spared.
  bool take(const std::vector<std::size_t>& order, bool must_add) {
    for (const std::size_t i : order) {
      if (held_[i] || !spared(present_[i])) continue;
      if (must_add && (present_[i] & ~judged_) == 0) continue;
      held_[i] = true;
      judged_ |= present_[i];
      for (std::size_t c = 0; c < left_.size(); ++c) left_[c] -= present_[i] >> c & 1;
      return true;
    }
    return false;
  }

  std::vector<bool> held() const { return held_; }

 private:
  bool spared(std::uint64_t present) const {
    for (std::size_t c = 0; c < left_.size(); ++c) {
      if ((present >> c & 1) && left_[c] < 2) return false;
    }
    return true;
  }

  std::vector<int> left_;
  std::vector<std::uint64_t> present_;
  std::vector<bool> held_;
  std::uint64_t judged_ = 0;
};

}  // namespace

std::uint64_t categories_in(const PreparedSample& sample) {
  std::uint64_t present = 0;
  for (const TrainingTile& tile : sample.tiles) present |= categories_in(tile);
  return present;
}

std::vector<int> count_occurrences(const std::vector<PreparedSample>& samples, int categories) {
  std::vector<int> counts(categories);
  for (const PreparedSample& sample : samples) {
    const std::uint64_t present = categories_in(sample);
    for (int c = 0; c < categories; ++c) counts[c] += present >> c & 1;
  }
  return counts;
}

std::vector<bool> choose_held_out(const std::vector<PreparedSample>& samples, int categories) {
  HeldOutChoice choice(samples, categories);
  if (samples.size() < 2) return choice.held();
  std::vector<std::size_t> order(samples.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  core::Random({0x6865'6c64, samples.size()}).shuffle(order);
  const auto wanted = std::clamp<std::size_t>(samples.size() / kHeldOutOf, 1, kMostHeldOut);
  for (std::size_t taken = 0; taken < wanted; ++taken) {
    if (!choice.take(order, true) && !choice.take(order, false)) break;
  }
  return choice.held();
}

std::vector<const TrainingTile*> choose_judging(const std::vector<PreparedSample>& samples,
                                                const std::vector<bool>& held, int categories) {
  const bool any_held = std::find(held.begin(), held.end(), true) != held.end();
  std::vector<const TrainingTile*> judging;
  std::size_t pixels = 0;
  std::uint64_t judged = 0;
  for (std::size_t turn = 0; turn < kMaxTilesPerSample; ++turn) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      if ((any_held && !held[i]) || turn >= samples[i].tiles.size() || pixels >= kJudgedPixels) {
        continue;
      }
      judging.push_back(&samples[i].tiles[turn]);
      pixels += judging.back()->area();
      judged |= categories_in(*judging.back());
    }
  }
  for (int c = 0; c < categories; ++c) {
    if (judged >> c & 1) continue;
    const TrainingTile* tile = tile_showing(c, samples, held);
    if (tile == nullptr) continue;
    judging.push_back(tile);
    judged |= categories_in(*tile);
  }
  return judging;
}

}  // namespace telvar::segmenter
