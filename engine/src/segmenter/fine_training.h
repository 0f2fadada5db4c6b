#pragma once

// Teaches the network that sees regions at their own resolution, with the context that it is shown.

#include <cstdint>
#include <vector>

#include "core/training_pool.h"
#include "segmenter/effort.h"
#include "segmenter/evaluation.h"
#include "segmenter/training_set.h"

namespace telvar::segmenter {

/// Initial weights depend on it.
constexpr std::uint64_t kSeed = 0x7365'676d;

/// What is learned, while it is.
struct Networks {
  nn::Network fine;
  ContextModel context;
  std::vector<ContextMap> maps;  // what the context networks say of the set's overviews
};

/// What a training works on and with.
struct TrainingTask {
  TrainingSet& set;  // only the overviews' folds change
  Effort effort;
  core::TrainingPool& pool;
};

/// A network that begins as the built-in base, without context; the networks of `base`, grown to
/// the planes and categories of the set.
Networks initial_networks(const TrainingSet& set);
Networks grown_networks(const SegmenterState& base, const TrainingSet& set);

/// The fine network with planes for a context, which it ignores at first.
nn::Network with_context_planes(const nn::Network& fine, const TrainingSet& set);

/// One round at the full rate, warmed up longer in the first (0).
void teach_round(const TrainingTask& task, int round, const Tiles& tiles, Networks& networks);

/// The falling rate, before the network is judged as the delivered one will be.
void settle(const TrainingTask& task, const Tiles& tiles, Networks& networks);

/// On all samples.
void finish(const TrainingTask& task, Networks& networks);

std::vector<Overlap> measure(const TrainingTask& task, const Tiles& tiles,
                             const Networks& networks);

}  // namespace telvar::segmenter
