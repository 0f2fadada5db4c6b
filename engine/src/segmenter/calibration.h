#pragma once

// Makes probabilities mean what they say: a factor and an offset of each category's logits, fitted
// to images that have not taught (Platt scaling).

#include <array>
#include <cstdint>
#include <vector>

#include "core/worker_pool.h"
#include "nn/network.h"
#include "segmenter/network/inference.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// How often pixels of a logit belong to a category, over -10..10 in steps of 0.05.
struct LogitCounts {
  static constexpr int kBins = 401, kMiddle = kBins / 2;
  std::array<std::uint64_t, kBins> belonging{}, others{};

  /// The logit that a bin stands for, and the bin of a logit.
  static double logit(int bin) { return 0.05 * (bin - kMiddle); }
  static int bin(double logit);
};

/// What a logit becomes: scale x logit + offset.
struct LogitFit {
  double scale = 1, offset = 0;
};

/// The factor that makes the labels likeliest (temperature scaling, Guo et al. 2017), then the
/// offset that does, both within narrow limits. Of an offset, n images bring n / (n + 1): one alone
/// often differs from the next. Too few pixels of either kind change nothing.
LogitFit fit_logits(const LogitCounts& counts, std::size_t images);

/// Fits every category on tiles that have not taught.
std::vector<LogitFit> measure_logits(const Predictor& predictor,
                                     const std::vector<const TrainingTile*>& tiles,
                                     const std::vector<ContextMap>& maps, core::WorkerPool& pool);

/// Builds the fits, one a category, into the network's head.
void adjust_logits(const std::vector<LogitFit>& fits, nn::Network& net);

}  // namespace telvar::segmenter
