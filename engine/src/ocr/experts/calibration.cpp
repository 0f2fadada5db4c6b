#include "ocr/experts/calibration.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ocr/experts/expert.h"

namespace telvar::ocr {
namespace {

/// Smoothed training labels and means over votes make scores less certain than they need be, so
/// that sharpnesses above 1 are usual.
constexpr double kUsualSharpness = 2;
/// What a doubling or halving of that costs, in units of log likelihood.
constexpr double kBelief = 4;
/// One label that is wrong must not decide alone.
constexpr double kLeastProbability = 1e-4;

/// Negative log likelihood of the right category.
double cost_of(const LabelledScores& judged, float sharpness) {
  std::vector<float> scores = judged.scores;
  sharpen(scores, sharpness);
  return -std::log(
      std::max<double>(scores[static_cast<std::size_t>(judged.category)], kLeastProbability));
}

}  // namespace

float fit_sharpness(const std::vector<LabelledScores>& judged) {
  constexpr int kCandidates = 21;  // a quarter of an octave apart
  double best_cost = std::numeric_limits<double>::max();
  float best = kUsualSharpness;
  for (int i = 0; i < kCandidates; ++i) {
    const auto candidate = kLeastSharpness * std::exp2(static_cast<float>(i) * 0.25f);
    const double octaves = std::log2(candidate / kUsualSharpness);
    double cost = kBelief * octaves * octaves;
    for (const LabelledScores& one : judged) cost += cost_of(one, candidate);
    if (cost < best_cost) {
      best_cost = cost;
      best = candidate;
    }
  }
  return best;
}

}  // namespace telvar::ocr
