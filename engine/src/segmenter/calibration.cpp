#include "segmenter/calibration.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "segmenter/evaluation.h"

namespace telvar::segmenter {
namespace {

/// A few images can mislead: a fit that asks for more than this follows their own errors.
constexpr double kLeastScale = 0.4, kLargestScale = 2.0;
constexpr double kLargestOffset = 1.0;

/// With fewer pixels that belong to a category, or that do not, its logits stay as they are.
constexpr std::uint64_t kFewestPixels = 50;

/// Newton's method takes so many rounds, far more than it takes to cross the limits above at the
/// largest step; that step keeps it from leaping where the curve is flat.
constexpr int kRounds = 30;
constexpr double kLargestStep = 0.3;

double probability_of(double logit) {
  return 1 / (1 + std::exp(-logit));
}

std::uint64_t sum_of(const std::array<std::uint64_t, LogitCounts::kBins>& counts) {
  std::uint64_t sum = 0;
  for (const std::uint64_t count : counts) sum += count;
  return sum;
}

/// One step of Newton's method on the log loss, along one of the fit's two parameters; `by` gives
/// the derivative of the fitted logit by that parameter.
double newton_step(const LogitCounts& counts, const LogitFit& fit, double (*by)(double logit)) {
  double slope = 0, curve = 1e-9;
  for (int i = 0; i < LogitCounts::kBins; ++i) {
    const double z = LogitCounts::logit(i), belonging = static_cast<double>(counts.belonging[i]);
    const double pixels = belonging + static_cast<double>(counts.others[i]);
    const double p = probability_of(fit.scale * z + fit.offset);
    slope += (pixels * p - belonging) * by(z);
    curve += pixels * p * (1 - p) * by(z) * by(z);
  }
  return std::clamp(slope / curve, -kLargestStep, kLargestStep);
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

LogitFit fit_logits(const LogitCounts& counts, std::size_t images) {
  if (sum_of(counts.belonging) < kFewestPixels || sum_of(counts.others) < kFewestPixels) return {};
  LogitFit fit;
  const auto by_scale = [](double logit) { return logit; };
  for (int round = 0; round < kRounds; ++round) {
    fit.scale =
        std::clamp(fit.scale - newton_step(counts, fit, by_scale), kLeastScale, kLargestScale);
  }
  const auto by_offset = [](double) { return 1.0; };
  for (int round = 0; round < kRounds; ++round) {
    fit.offset = std::clamp(fit.offset - newton_step(counts, fit, by_offset), -kLargestOffset,
                            kLargestOffset);
  }
  fit.offset *= static_cast<double>(images) / static_cast<double>(images + 1);
  return fit;
}

std::vector<LogitFit> measure_logits(const Predictor& predictor,
                                     const std::vector<const TrainingTile*>& tiles,
                                     const std::vector<ContextMap>& maps, core::WorkerPool& pool) {
  std::vector<std::vector<LogitCounts>> by_tile(tiles.size());
  pool.run(static_cast<int>(tiles.size()),
           [&](int i) { by_tile[i] = count_tile(predictor, *tiles[i], map_of(*tiles[i], maps)); });
  std::set<int> images;
  for (const TrainingTile* tile : tiles) images.insert(tile->origin.overview);
  std::vector<LogitFit> fits(predictor.categories());
  for (std::size_t c = 0; c < fits.size(); ++c) {
    LogitCounts sum;
    for (const auto& counts : by_tile) {
      for (int i = 0; i < LogitCounts::kBins; ++i) {
        sum.belonging[i] += counts[c].belonging[i];
        sum.others[i] += counts[c].others[i];
      }
    }
    fits[c] = fit_logits(sum, images.size());
  }
  return fits;
}

void adjust_logits(const std::vector<LogitFit>& fits, nn::Network& net) {
  std::vector<float>& weights = net.parameter("head.weight").values;
  std::vector<float>& biases = net.parameter("head.bias").values;
  const std::size_t inputs = weights.size() / fits.size();
  for (std::size_t i = 0; i < weights.size(); ++i) {
    weights[i] *= static_cast<float>(fits[i / inputs].scale);
  }
  for (std::size_t c = 0; c < fits.size(); ++c) {
    biases[c] = static_cast<float>(fits[c].scale * biases[c] + fits[c].offset);
  }
}

}  // namespace telvar::segmenter
