#include "segmenter/calibration.h"

#include <algorithm>
#include <cmath>

#include "segmenter/evaluation.h"

namespace telvar::segmenter {
namespace {

/// A few images can mislead.
constexpr double kLeastScale = 0.4, kLargestScale = 2.0;
constexpr double kLargestOffset = 3.0;

constexpr std::uint64_t kFewestPixels = 50;

/// What the threshold may cost of the intersection over union.
constexpr double kThresholdCost = 0.005;

double probability_of(double logit) {
  return 1 / (1 + std::exp(-logit));
}

std::uint64_t sum_of(const std::array<std::uint64_t, LogitCounts::kBins>& counts) {
  std::uint64_t sum = 0;
  for (const std::uint64_t count : counts) sum += count;
  return sum;
}

/// The gradient of the mean log loss, and its second derivatives.
struct Slopes {
  double scale = 0, offset = 0;
  double scale2 = 0, mixed = 0, offset2 = 0;
};

Slopes measure_slopes(const LogitCounts& counts, const LogitScale& at) {
  Slopes sum;
  for (int i = 0; i < LogitCounts::kBins; ++i) {
    const double z = LogitCounts::logit(i), belonging = static_cast<double>(counts.belonging[i]);
    const double pixels = belonging + static_cast<double>(counts.others[i]);
    const double p = probability_of(at.scale * z + at.offset);
    const double error = pixels * p - belonging, weight = pixels * p * (1 - p);
    sum.scale += error * z;
    sum.offset += error;
    sum.scale2 += weight * z * z;
    sum.mixed += weight * z;
    sum.offset2 += weight;
  }
  return sum;
}

/// Newton's method. `threshold`: the logit whose probability must be 0.5; none: it is free.
LogitScale regress(const LogitCounts& counts, const double* threshold) {
  LogitScale fit;
  if (threshold != nullptr) fit.offset = -*threshold;
  for (int round = 0; round < 30; ++round) {
    const Slopes s = measure_slopes(counts, fit);
    double scale_step, offset_step;
    if (threshold != nullptr) {
      const double t = *threshold;
      const double curve = s.scale2 - 2 * t * s.mixed + t * t * s.offset2 + 1e-9;
      scale_step = (s.scale - t * s.offset) / curve;
      offset_step = 0;
    } else {
      const double determinant = s.scale2 * s.offset2 - s.mixed * s.mixed + 1e-9;
      scale_step = (s.scale * s.offset2 - s.offset * s.mixed) / determinant;
      offset_step = (s.offset * s.scale2 - s.scale * s.mixed) / determinant;
    }
    fit.scale =
        std::clamp(fit.scale - std::clamp(scale_step, -0.3, 0.3), kLeastScale, kLargestScale);
    fit.offset -= std::clamp(offset_step, -0.5, 0.5);
    if (threshold != nullptr) fit.offset = -*threshold * fit.scale;
    fit.offset = std::clamp(fit.offset, -kLargestOffset, kLargestOffset);
  }
  return fit;
}

/// Intersection over union for every bin as the lowest that is claimed.
std::vector<double> overlaps_by_threshold(const LogitCounts& counts) {
  const auto belonging = static_cast<double>(sum_of(counts.belonging));
  std::vector<double> overlaps(LogitCounts::kBins);
  double shared = 0, wrong = 0;
  for (int i = LogitCounts::kBins; i-- > 0;) {
    shared += static_cast<double>(counts.belonging[i]);
    wrong += static_cast<double>(counts.others[i]);
    overlaps[i] = shared / (belonging + wrong);
  }
  return overlaps;
}

/// The good threshold that is nearest to the one wanted.
double good_threshold(const LogitCounts& counts, double wanted) {
  const std::vector<double> overlaps = overlaps_by_threshold(counts);
  const double needed = *std::max_element(overlaps.begin(), overlaps.end()) - kThresholdCost;
  double best = 0, distance = 1e9;
  for (int i = 0; i < LogitCounts::kBins; ++i) {
    const double here = std::fabs(LogitCounts::logit(i) - wanted);
    if (overlaps[i] < needed || here >= distance) continue;
    best = LogitCounts::logit(i);
    distance = here;
  }
  return distance < 0.05 ? wanted : best;
}

std::vector<LogitCounts> count_tile(const Predictor& predictor, const TrainingTile& tile,
                                    const ContextMap& map) {
  const Probabilities found =
      predictor.predict_piece(source_pixels(tile, predictor.spec()).data(), tile.width, tile.height,
                              map, tile.origin.place);
  std::vector<LogitCounts> counts(predictor.categories());
  for (int c = 0; c < predictor.categories(); ++c) {
    if (!(tile.known >> c & 1)) continue;
    const LabelPlane* plane = find_label(tile, c);
    for (std::size_t i = 0; i < tile.area(); ++i) {
      const double p = found[c * tile.area() + i];
      const int bin = LogitCounts::bin(std::log((p + 1e-9) / (1 - p + 1e-9)));
      const bool belongs = plane != nullptr && bit_at(plane->bits, i);
      ++(belongs ? counts[c].belonging : counts[c].others)[bin];
    }
  }
  return counts;
}

}  // namespace

int LogitCounts::bin(double logit) {
  return static_cast<int>(std::clamp(logit, -10.0, 10.0) / 0.05 + 200.5);
}

LogitScale fit_logits(const LogitCounts& counts) {
  if (sum_of(counts.belonging) < kFewestPixels || sum_of(counts.others) < kFewestPixels) return {};
  const LogitScale free = regress(counts, nullptr);
  const double wanted = -free.offset / free.scale;
  const double threshold = good_threshold(counts, wanted);
  return threshold == wanted ? free : regress(counts, &threshold);
}

std::vector<LogitScale> measure_calibration(const Predictor& predictor,
                                            const std::vector<const TrainingTile*>& tiles,
                                            const std::vector<ContextMap>& maps,
                                            core::WorkerPool& pool) {
  std::vector<std::vector<LogitCounts>> by_tile(tiles.size());
  pool.run(static_cast<int>(tiles.size()),
           [&](int i) { by_tile[i] = count_tile(predictor, *tiles[i], map_of(*tiles[i], maps)); });
  std::vector<LogitScale> scales(predictor.categories());
  for (std::size_t c = 0; c < scales.size(); ++c) {
    LogitCounts sum;
    for (const auto& counts : by_tile) {
      for (int i = 0; i < LogitCounts::kBins; ++i) {
        sum.belonging[i] += counts[c].belonging[i];
        sum.others[i] += counts[c].others[i];
      }
    }
    scales[c] = fit_logits(sum);
  }
  return scales;
}

void calibrate(const std::vector<LogitScale>& scales, nn::Network& net) {
  std::vector<float>& weights = net.parameter("head.weight").values;
  std::vector<float>& biases = net.parameter("head.bias").values;
  const std::size_t inputs = weights.size() / scales.size();
  for (std::size_t c = 0; c < scales.size(); ++c) {
    const auto scale = static_cast<float>(scales[c].scale);
    for (std::size_t i = 0; i < inputs; ++i) weights[c * inputs + i] *= scale;
    biases[c] = biases[c] * scale + static_cast<float>(scales[c].offset);
  }
}

}  // namespace telvar::segmenter
