#include "segmenter/training_set.h"

#include <algorithm>
#include <utility>

#include "segmenter/effort.h"
#include "segmenter/held_out.h"
#include "segmenter/samples/input_measurement.h"

namespace telvar::segmenter {
namespace {

/// A tile whose labels refer to the categories' new places.
TrainingTile renumbered(TrainingTile tile, const std::vector<int>& places) {
  std::uint64_t known = 0;
  for (std::size_t c = 0; c < places.size(); ++c) {
    if (tile.known >> c & 1) known |= std::uint64_t{1} << places[c];
  }
  tile.known = known;
  for (LabelPlane& plane : tile.labels) plane.category = places[plane.category];
  return tile;
}

void add_tiles(const PreparedSample& sample, Tiles& tiles) {
  for (const TrainingTile& tile : sample.tiles) tiles.push_back(&tile);
}

/// With a base: what its weights are used to.
InputSpec choose_input(const SegmenterState* base, const TrainingSet& set) {
  InputSpec spec = measure_input(set.all);
  if (base == nullptr) {
    spec.mirrored = set.few;
    return spec;
  }
  const bool colour = spec.colour || base->input.colour;
  spec = base->input;
  spec.colour = colour;
  return spec;
}

void add_overviews(TrainingSet& set) {
  for (std::size_t i = 0; i < set.samples.size(); ++i) {
    PreparedSample& sample = set.samples[i];
    for (TrainingTile& tile : sample.tiles) tile.origin.overview = static_cast<int>(i);
    set.context.overviews.push_back({std::move(sample.overview), Overview::kUnseen});
  }
  set.context.fresh = set.samples.size();
}

void add_rehearsed(const SegmenterState& base, TrainingSet& set) {
  const std::vector<int> places = places_of(base.categories, set.categories);
  for (const TrainingTile& tile : base.exemplars) {
    set.rehearsed.push_back(renumbered(tile, places));
    int& overview = set.rehearsed.back().origin.overview;
    if (overview >= 0) overview += static_cast<int>(set.context.fresh);
  }
  for (const Overview& overview : base.overviews) {
    set.context.overviews.push_back({renumbered(overview.tile, places), overview.fold});
  }
}

void hold_out(TrainingSet& set) {
  set.held_out = choose_held_out(set.samples, set.count());
  set.judging = choose_judging(set.samples, set.held_out, set.count());
  for (std::size_t i = 0; i < set.samples.size(); ++i) {
    if (!set.held_out[i]) add_tiles(set.samples[i], set.taught);
  }
}

}  // namespace

Tiles TrainingSet::of_sample(std::size_t sample) const {
  Tiles tiles;
  add_tiles(samples[sample], tiles);
  return tiles;
}

Tiles TrainingSet::without_sample(std::size_t sample) const {
  Tiles tiles;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (i != sample) add_tiles(samples[i], tiles);
  }
  return tiles;
}

TrainingSet join_samples(const SegmenterState* base, const std::vector<std::string>& categories,
                         std::vector<PreparedSample> samples) {
  TrainingSet set;
  set.categories = categories;
  set.samples = std::move(samples);
  set.context.categories = set.count();
  set.few = base == nullptr && set.samples.size() <= kFew;
  add_overviews(set);
  for (const PreparedSample& sample : set.samples) add_tiles(sample, set.all);
  set.context.spec = choose_input(base, set);
  if (base != nullptr) add_rehearsed(*base, set);
  hold_out(set);
  return set;
}

std::vector<int> places_of(const std::vector<std::string>& from,
                           const std::vector<std::string>& to) {
  std::vector<int> places;
  places.reserve(from.size());
  for (const std::string& name : from) {
    places.push_back(static_cast<int>(std::lower_bound(to.begin(), to.end(), name) - to.begin()));
  }
  return places;
}

}  // namespace telvar::segmenter
