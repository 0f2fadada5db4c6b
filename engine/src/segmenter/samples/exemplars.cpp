#include "segmenter/samples/exemplars.h"

#include <cstdint>

#include "core/random.h"
#include "segmenter/network/tiling.h"

namespace telvar::segmenter {
namespace {

struct Candidate {
  const TrainingTile* tile;
  TileSpan x, y;
  std::uint64_t present;  // bit c: has pixels of category c
};

bool has_pixels(const TrainingTile& tile, const LabelPlane& plane, const TileSpan& x,
                const TileSpan& y) {
  for (int row = y.begin; row < y.begin + y.size; ++row) {
    for (int column = x.begin; column < x.begin + x.size; ++column) {
      if (bit_at(plane.bits, std::size_t(row) * tile.width + column)) return true;
    }
  }
  return false;
}

std::vector<Candidate> all_candidates(const std::vector<const TrainingTile*>& tiles) {
  std::vector<Candidate> candidates;
  for (const TrainingTile* tile : tiles) {
    for (const TileSpan& y : even_spans(tile->height, kExemplarSide)) {
      for (const TileSpan& x : even_spans(tile->width, kExemplarSide)) {
        Candidate candidate{tile, x, y, 0};
        for (const LabelPlane& plane : tile->labels) {
          if (has_pixels(*tile, plane, x, y)) candidate.present |= 1ULL << plane.category;
        }
        candidates.push_back(candidate);
      }
    }
  }
  return candidates;
}

/// The positions, in `candidates`, of those that serve each category; the background's come last.
std::vector<std::vector<std::size_t>> queues_of(const std::vector<Candidate>& candidates,
                                                int categories) {
  std::vector<std::vector<std::size_t>> queues(categories + 1);
  // Filled from the end, so that the next one is at the back.
  for (std::size_t i = candidates.size(); i-- > 0;) {
    if (candidates[i].present == 0) queues[categories].push_back(i);
    for (int c = 0; c < categories; ++c) {
      if (candidates[i].present >> c & 1) queues[c].push_back(i);
    }
  }
  return queues;
}

}  // namespace

std::vector<TrainingTile> choose_exemplars(const std::vector<const TrainingTile*>& tiles,
                                           int categories) {
  std::vector<Candidate> candidates = all_candidates(tiles);
  core::Random random({0x6578'656d, candidates.size()});
  random.shuffle(candidates);
  auto queues = queues_of(candidates, categories);
  std::vector<bool> taken(candidates.size());
  std::vector<TrainingTile> chosen;
  for (bool more = true; more;) {
    more = false;
    for (auto& queue : queues) {
      while (!queue.empty() && taken[queue.back()]) queue.pop_back();
      if (queue.empty() || chosen.size() == kMaxExemplars) continue;
      const Candidate& next = candidates[queue.back()];
      taken[queue.back()] = true;
      chosen.push_back(cut_tile(*next.tile, next.x.begin, next.y.begin, next.x.size, next.y.size));
      more = true;
    }
  }
  return chosen;
}

}  // namespace telvar::segmenter
