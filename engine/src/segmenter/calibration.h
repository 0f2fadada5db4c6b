#pragma once

// Makes probabilities mean what they say: a scale and an offset of each category's logits, fitted
// to images that have not taught.

#include <array>
#include <cstdint>
#include <vector>

#include "core/worker_pool.h"
#include "nn/network.h"
#include "segmenter/predictor.h"
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

/// The calibrated logit is scale x logit + offset.
struct LogitScale {
  double scale = 1, offset = 0;
};

/// Logistic regression (Platt 1999) within narrow limits; then moved as far as it takes for 0.5 to
/// be as good a threshold for intersection over union as any, to 0.005. Too few pixels of either
/// kind change nothing.
LogitScale fit_logits(const LogitCounts& counts);

/// Fits every category on tiles that have not taught.
std::vector<LogitScale> measure_calibration(const Predictor& predictor,
                                            const std::vector<const TrainingTile*>& tiles,
                                            const std::vector<ContextMap>& maps,
                                            core::WorkerPool& pool);

/// Builds it into the network's head.
void calibrate(const std::vector<LogitScale>& scales, nn::Network& net);

}  // namespace telvar::segmenter
