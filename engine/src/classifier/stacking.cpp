#include "classifier/stacking.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace telvar::classifier {
namespace {

// A weak belief in a middling weight of the networks, worth half a sample: few or perfectly
// separated samples would otherwise ask for scores of exactly 0 and 1.
constexpr double kExpectedNetwork = 1, kNetworkBelief = 0.5;
// A strong one in the kernel machine's: what suits fresh images differs little from set to set
// (5.2 to 8 with ten images a class of ten, where 0.1 to 0.9 suit the networks), but what suits a
// hundred held-out samples is often more, since the kernel was chosen on them. Its tails are heavy,
// so that a machine that knows nothing can still be left out.
constexpr double kKernelBelief = 48, kKernelTail = 5;
constexpr double kSureKernel = 3.3;  // log odds that a perfect answer gets
constexpr int kRounds = 4;

double deviation_from(double expected, float weight) {
  const double difference = std::log(std::max(weight, 0.02f) / expected);
  return difference * difference;
}

/// The weight that gives a kernel score of 1 beside zeros the same confidence, whatever the number
/// of categories.
double expected_kernel(int categories) {
  return kSureKernel + std::log(std::max(1, categories - 1));
}

/// Negative log likelihood of the labels, summed, prior included.
double cost(const Stacking& stacking, const Matrix& network, const Matrix& kernel,
            const std::vector<int>& labels) {
  const Matrix scores = stacked_scores(stacking, network, kernel);
  double sum = 0;
  for (int i = 0; i < scores.rows(); ++i) sum -= std::log(scores.at(i, labels[i]) + 1e-9);
  sum += kNetworkBelief * deviation_from(kExpectedNetwork, stacking.network);
  if (kernel.rows() > 0) {
    const double off = deviation_from(expected_kernel(kernel.columns()), stacking.kernel);
    sum += kKernelTail * std::log1p(kKernelBelief / kKernelTail * off);
  }
  return sum;
}

}  // namespace

Matrix stacked_scores(const Stacking& stacking, const Matrix& network, const Matrix& kernel) {
  Matrix scores(network.rows(), network.columns());
  for (int i = 0; i < scores.rows(); ++i) {
    float* row = scores.row(i);
    float best = -std::numeric_limits<float>::max();
    for (int c = 0; c < scores.columns(); ++c) {
      row[c] = stacking.network * network.at(i, c);
      if (kernel.rows() > 0) row[c] += stacking.kernel * kernel.at(i, c);
      best = std::max(best, row[c]);
    }
    float sum = 0;
    for (int c = 0; c < scores.columns(); ++c) sum += row[c] = std::exp(row[c] - best);
    // Weights and coefficients of an artifact are finite; what they add up to may not be.
    if (!(std::isfinite(sum) && sum > 0)) {
      std::fill_n(row, scores.columns(), 1 / static_cast<float>(scores.columns()));
      continue;
    }
    for (int c = 0; c < scores.columns(); ++c) row[c] /= sum;
  }
  return scores;
}

Stacking fit_stacking(const Matrix& network, const Matrix& kernel, const std::vector<int>& labels) {
  Stacking best;
  double best_cost = std::numeric_limits<double>::max();
  const auto consider = [&](float network_weight, float kernel_weight) {
    const Stacking candidate{network_weight, kernel_weight};
    const double value = cost(candidate, network, kernel, labels);
    if (value < best_cost) best = candidate, best_cost = value;
  };
  const bool machine = kernel.rows() > 0;
  for (float n = 0.0625f; n < 3; n *= 2) {
    if (!machine) consider(n, 0);
    for (float k = 0.5f; machine && k < 40; k *= 2) consider(n, k);
  }
  float factor = 1.414f;
  for (int round = 0; round < kRounds; ++round, factor = std::sqrt(factor)) {
    const Stacking centre = best;
    for (const float n : {1 / factor, 1.0f, factor}) {
      for (const float k : {1 / factor, 1.0f, factor}) {
        consider(centre.network * n, centre.kernel * k);
      }
    }
  }
  return best;
}

}  // namespace telvar::classifier
