#pragma once

// Makes probabilities mean what they say: a factor of each category's logits, fitted to images that
// have not taught.

#include <array>
#include <cstdint>
#include <vector>

#include "core/worker_pool.h"
#include "nn/network.h"
#include "segmenter/inference.h"
#include "segmenter/training_tile.h"

namespace telvar::segmenter {

/// How often pixels of a logit belong to a category, over -10..10 in steps of 0.05.
struct LogitCounts {
  static constexpr int kBins = 401;
  std::array<std::uint64_t, kBins> belonging{}, others{};

  /// The logit that a bin stands for, and the bin of a logit.
  static double logit(int bin) { return 0.05 * (bin - kBins / 2); }
  static int bin(double logit);
};

/// The factor of the logit that makes probabilities likeliest (temperature scaling, Guo et al.
/// 2017), within narrow limits. It leaves 0.5 where it is: that threshold already serves the
/// overlap that training maximises, and what few images say of another did not hold for others. Too
/// few pixels of either kind: 1.
double fit_scale(const LogitCounts& counts);

/// Fits every category on tiles that have not taught.
std::vector<double> measure_scales(const Predictor& predictor,
                                   const std::vector<const TrainingTile*>& tiles,
                                   const std::vector<ContextMap>& maps, core::WorkerPool& pool);

/// Builds the factors, one a category, into the network's head.
void scale_logits(const std::vector<double>& scales, nn::Network& net);

}  // namespace telvar::segmenter
