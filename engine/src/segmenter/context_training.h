#pragma once

// Learns context networks from overviews, each without a part of them.

#include <vector>

#include "core/training_pool.h"
#include "segmenter/evaluation.h"
#include "segmenter/network/context.h"
#include "segmenter/state.h"

namespace telvar::segmenter {

/// Networks of a context from nothing.
constexpr int kContextFolds = 2;

struct ContextPlan {
  int steps = 0;  // of each network
  double peak_rate = 0;
};

/// Overviews of a training. Those of no fold teach nothing.
struct ContextData {
  std::vector<Overview> overviews;
  std::size_t fresh = 0;  // so many are new; the rest are rehearsed
  int categories = 0;
  InputSpec spec;
};

/// What overviews can tell at best: of the category that they show best, the intersection over
/// union of the tiles' labels with those of their overviews, at the tiles' scale, 0..1. Marks
/// thinner than an overview's cells are lost.
double measure_overviews(const ContextData& data, const std::vector<const TrainingTile*>& tiles);

/// Puts every fresh overview that teaches into a fold, evenly.
void assign_folds(const std::vector<bool>& teaches, int folds, std::vector<Overview>& overviews);

/// Trains network `fold` of `model`, of initial or earlier weights, in place.
void train_context(const ContextData& data, const ContextPlan& plan, std::uint64_t seed,
                   std::size_t fold, ContextModel& model, core::TrainingPool& pool);

/// Those of samples that are not held out, or all.
enum class WhichOverviews { kOfFolds, kAll };

/// Trains every network of `model` further, in place.
void continue_context(const ContextData& data, const ContextPlan& plan, std::uint64_t seed,
                      WhichOverviews which, ContextModel& model, core::TrainingPool& pool);

/// What the context is of every overview, by the network that has not learned from it; of overviews
/// of no fold by all. So the fine network learns how far a context can be trusted.
std::vector<ContextMap> map_overviews(const ContextData& data, const ContextModel& model,
                                      core::WorkerPool& pool);

/// Sets whether the networks are told positions: where that is clearly better on overviews that
/// they have not learned from. Returns what they find in these, a category each.
std::vector<Overlap> choose_positions(const ContextData& data, ContextModel& model,
                                      core::WorkerPool& pool);

}  // namespace telvar::segmenter
