#pragma once

// How well a network segments labelled tiles.

#include <cstdint>
#include <vector>

#include "core/worker_pool.h"
#include "segmenter/network/inference.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// Pixel counts of one category at probability 0.5.
struct Overlap {
  std::uint64_t labelled = 0;
  std::uint64_t intersection = 0;
  std::uint64_t united = 0;
};

/// Counts one pixel.
inline void add_pixel(bool belongs, bool claimed, Overlap& overlap) {
  overlap.labelled += belongs;
  overlap.intersection += belongs && claimed;
  overlap.united += belongs || claimed;
}

inline void add(const Overlap& more, Overlap& sum) {
  sum.labelled += more.labelled;
  sum.intersection += more.intersection;
  sum.united += more.united;
}

/// Over all tiles that carry labels of a category; one entry a category. `maps`: the context of the
/// overviews that the tiles' origins tell; none, or none for a tile: it goes without.
std::vector<Overlap> measure_overlap(const Predictor& predictor,
                                     const std::vector<const TrainingTile*>& tiles,
                                     const std::vector<ContextMap>& maps, core::WorkerPool& pool);

/// The tile's pixels with as many planes as the network's source.
std::vector<float> source_pixels(const TrainingTile& tile, const InputSpec& spec);

/// Mean intersection over union of the categories that have labelled pixels; 0 without any.
double mean_iou(const std::vector<Overlap>& overlaps);

}  // namespace telvar::segmenter
