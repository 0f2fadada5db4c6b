#include "segmenter/evaluation.h"

namespace telvar::segmenter {
namespace {

std::vector<Overlap> measure_tile(const Predictor& predictor, const TrainingTile& tile,
                                  const ContextMap& map) {
  const Probabilities found =
      predictor.predict_piece(source_pixels(tile, predictor.spec()).data(), tile.width, tile.height,
                              map, tile.origin.place);
  std::vector<Overlap> overlaps(predictor.categories());
  for (int c = 0; c < predictor.categories(); ++c) {
    if (!(tile.known >> c & 1)) continue;
    const LabelPlane* plane = find_label(tile, c);
    for (std::size_t i = 0; i < tile.area(); ++i) {
      const bool belongs = plane != nullptr && bit_at(plane->bits, i);
      const bool claimed = found[c * tile.area() + i] >= 0.5f;
      add_pixel(belongs, claimed, overlaps[c]);
    }
  }
  return overlaps;
}

}  // namespace

std::vector<float> source_pixels(const TrainingTile& tile, const InputSpec& spec) {
  std::vector<float> pixels = to_raster(tile).values;
  while (pixels.size() < tile.area() * spec.source_channels()) {
    pixels.insert(pixels.end(), pixels.begin(), pixels.begin() + std::ptrdiff_t(tile.area()));
  }
  return pixels;
}

std::vector<Overlap> measure_overlap(const Predictor& predictor,
                                     const std::vector<const TrainingTile*>& tiles,
                                     const std::vector<ContextMap>& maps, core::WorkerPool& pool) {
  std::vector<std::vector<Overlap>> by_tile(tiles.size());
  pool.run(static_cast<int>(tiles.size()), [&](int i) {
    by_tile[i] = measure_tile(predictor, *tiles[i], map_of(*tiles[i], maps));
  });
  std::vector<Overlap> sums(predictor.categories());
  for (const auto& overlaps : by_tile) {
    for (std::size_t c = 0; c < sums.size(); ++c) add(overlaps[c], sums[c]);
  }
  return sums;
}

double mean_iou(const std::vector<Overlap>& overlaps) {
  double sum = 0;
  int categories = 0;
  for (const Overlap& overlap : overlaps) {
    if (overlap.labelled == 0) continue;
    sum += static_cast<double>(overlap.intersection) / static_cast<double>(overlap.united);
    ++categories;
  }
  return categories == 0 ? 0.0 : sum / categories;
}

}  // namespace telvar::segmenter
