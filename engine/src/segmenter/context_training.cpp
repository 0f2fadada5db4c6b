#include "segmenter/context_training.h"

#include <algorithm>
#include <functional>
#include <numeric>

#include "segmenter/evaluation.h"
#include "segmenter/network/network.h"
#include "segmenter/network_training.h"

namespace telvar::segmenter {
namespace {

/// Of the crops; what is learned without serves data sets whose things lie anywhere.
constexpr float kWithoutPositions = 0.5f;

/// What positions must add to the intersection over union.
constexpr double kClearGain = 0.02;

/// Which overviews teach.
using Choice = std::function<bool(const Overview&)>;

Tiles chosen_overviews(const ContextData& data, const Choice& teaches, std::size_t begin,
                       std::size_t end) {
  Tiles tiles;
  for (std::size_t i = begin; i < end; ++i) {
    if (teaches(data.overviews[i])) tiles.push_back(&data.overviews[i].tile);
  }
  return tiles;
}

int canvas_side(const ContextData& data) {
  int longest = 1;
  for (const Overview& overview : data.overviews) {
    longest = std::max({longest, overview.tile.width, overview.tile.height});
  }
  return rounded_up(longest);
}

/// At the overviews' own scale; of those without a map, nothing.
std::vector<Overlap> measure_maps(const ContextData& data, const std::vector<ContextMap>& maps) {
  std::vector<Overlap> sums(data.categories);
  for (std::size_t i = 0; i < data.fresh; ++i) {
    const TrainingTile& tile = data.overviews[i].tile;
    if (maps[i].empty()) continue;
    for (int c = 0; c < data.categories; ++c) {
      if (!(tile.known >> c & 1)) continue;
      const LabelPlane* plane = find_label(tile, c);
      for (std::size_t cell = 0; cell < tile.area(); ++cell) {
        add_pixel(plane != nullptr && bit_at(plane->bits, cell),
                  maps[i].probability(c, cell) >= 0.5f, sums[c]);
      }
    }
  }
  return sums;
}

/// Counts the pixels of a category in a tile, claimed where the overview's label says so.
void add_category(const TrainingTile& tile, const TrainingTile& overview, int category,
                  Overlap& overlap) {
  const PlaceInRegion& place = tile.origin.place;
  const LabelPlane* fine = find_label(tile, category);
  const LabelPlane* coarse = find_label(overview, category);
  for (int y = 0; y < tile.height; ++y) {
    const std::size_t row = std::size_t(place.y + y) * overview.height / place.height;
    for (int x = 0; x < tile.width; ++x) {
      const std::size_t column = std::size_t(place.x + x) * overview.width / place.width;
      const std::size_t pixel = std::size_t(y) * tile.width + x;
      add_pixel(fine != nullptr && bit_at(fine->bits, pixel),
                coarse != nullptr && bit_at(coarse->bits, row * overview.width + column), overlap);
    }
  }
}

void train_with(const ContextData& data, const Choice& teaches, const ContextPlan& plan,
                std::uint64_t seed, nn::Network& net, core::TrainingPool& pool) {
  const int side = canvas_side(data);
  // There are no more views of a region than images, so each is varied as those of few are.
  CropStyle style;
  style.positions = true;
  style.left_out = kWithoutPositions;
  style.strength = Strength::kOfFewImages;
  const Tiles fresh = chosen_overviews(data, teaches, 0, data.fresh);
  const Tiles old = chosen_overviews(data, teaches, data.fresh, data.overviews.size());
  if (fresh.empty()) return;
  nn::TrainingPlan training;
  training.steps = plan.steps;
  training.seed = seed;
  training.peak_rate = plan.peak_rate;
  train_network(net,
                {CropSource(fresh, side, data.categories, data.spec, style),
                 CropSource(old, side, data.categories, data.spec, style), !old.empty()},
                training, pool);
}

}  // namespace

double measure_overviews(const ContextData& data, const Tiles& tiles) {
  std::vector<Overlap> sums(data.categories);
  for (const TrainingTile* tile : tiles) {
    const TrainingTile& overview = data.overviews[tile->origin.overview].tile;
    for (int c = 0; c < data.categories; ++c) {
      if (tile->known >> c & 1) add_category(*tile, overview, c, sums[c]);
    }
  }
  double best = 0;
  for (const Overlap& one : sums) best = std::max(best, mean_iou({one}));
  return best;
}

void assign_folds(const std::vector<bool>& teaches, int folds, std::vector<Overview>& overviews) {
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < teaches.size(); ++i) {
    if (teaches[i]) order.push_back(i);
  }
  core::Random({0x666f'6c64, order.size()}).shuffle(order);
  for (std::size_t k = 0; k < order.size(); ++k) {
    overviews[order[k]].fold = static_cast<int>(k) % folds;
  }
}

void train_context(const ContextData& data, const ContextPlan& plan, std::uint64_t seed,
                   std::size_t fold, ContextModel& model, core::TrainingPool& pool) {
  const int left_out = static_cast<int>(fold);
  const Choice teaches = [&](const Overview& overview) {
    return overview.fold != left_out && overview.fold != Overview::kUnseen;
  };
  train_with(data, teaches, plan, seed + fold, model.nets[fold], pool);
}

void continue_context(const ContextData& data, const ContextPlan& plan, std::uint64_t seed,
                      WhichOverviews which, ContextModel& model, core::TrainingPool& pool) {
  const Choice teaches = [&](const Overview& overview) {
    return which == WhichOverviews::kAll || overview.fold != Overview::kUnseen;
  };
  for (nn::Network& net : model.nets) train_with(data, teaches, plan, seed++, net, pool);
}

std::vector<ContextMap> map_overviews(const ContextData& data, const ContextModel& model,
                                      core::WorkerPool& pool) {
  const ContextPredictor predictor(model, data.spec);
  std::vector<ContextMap> maps(data.overviews.size());
  if (predictor.empty()) return maps;
  pool.run(static_cast<int>(maps.size()), [&](int i) {
    const Overview& overview = data.overviews[i];
    const TrainingTile& tile = overview.tile;
    const bool seen = overview.fold != Overview::kUnseen;
    if (seen && static_cast<std::size_t>(overview.fold) >= model.nets.size()) return;
    const auto pixels = source_pixels(tile, data.spec);
    maps[i] = !seen ? predictor.predict(pixels.data(), tile.width, tile.height)
                    : predictor.predict(pixels.data(), tile.width, tile.height, overview.fold);
  });
  return maps;
}

std::vector<Overlap> choose_positions(const ContextData& data, ContextModel& model,
                                      core::WorkerPool& pool) {
  const auto judge = [&](bool positions) {
    model.positions = positions;
    return measure_maps(data, map_overviews(data, model, pool));
  };
  std::vector<Overlap> with = judge(true), without = judge(false);
  model.positions = mean_iou(with) >= mean_iou(without) + kClearGain;
  return model.positions ? with : without;
}

}  // namespace telvar::segmenter
