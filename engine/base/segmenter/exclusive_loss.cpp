#include "segmenter/exclusive_loss.h"

#include <algorithm>
#include <cmath>

#include "segmenter/network/dice.h"

namespace telvar::segmenter {
namespace {

using Categories = std::vector<std::size_t>;

Categories known_in(const ChunkTargets& targets, int crop) {
  Categories known;
  for (int c = 0; c < targets.categories; ++c) {
    if (targets.known[std::size_t(crop) * targets.categories + c] != 0) known.push_back(c);
  }
  return known;
}

/// Writes the softmax of one pixel over its known categories; returns the probability of none.
float softmax(const float* logits, const Categories& known, float* probabilities) {
  float highest = 0;
  for (const std::size_t c : known) highest = std::max(highest, logits[c]);
  const float none = std::exp(-highest);
  float sum = none;
  for (const std::size_t c : known) sum += probabilities[c] = std::exp(logits[c] - highest);
  for (const std::size_t c : known) probabilities[c] /= sum;
  return none / sum;
}

/// Visits every pixel: visit(its index into logits, the categories known there).
template <class Visit>
void for_pixels(const ChunkTargets& targets, const Visit& visit) {
  std::size_t index = 0;
  for (int crop = 0; crop < targets.crops; ++crop) {
    const Categories known = known_in(targets, crop);
    for (std::size_t pixel = 0; pixel < targets.pixels; ++pixel, index += targets.categories) {
      visit(index, known);
    }
  }
}

}  // namespace

double exclusive_loss(const float* logits, const ChunkTargets& targets, float* gradient) {
  std::vector<CategorySums> sums(targets.categories);
  std::fill_n(gradient, targets.belongs.size(), 0.0f);
  double entropy = 0;
  // `gradient` holds the probabilities until the sums are known.
  for_pixels(targets, [&](std::size_t index, const Categories& known) {
    float truth = softmax(logits + index, known, gradient + index);
    for (const std::size_t c : known) {
      const float probability = gradient[index + c];
      const bool belongs = targets.belongs[index + c] != 0;
      if (belongs) truth = probability;
      sums[c].add(probability, belongs);
    }
    entropy -= std::log(std::max(truth, 1e-12f));
  });
  const auto present = std::count_if(sums.begin(), sums.end(),
                                     [](const CategorySums& one) { return one.belonging > 0; });
  const double dice_share = 1.0 / static_cast<double>(std::max<std::ptrdiff_t>(present, 1));
  const double entropy_share = 1.0 / (static_cast<double>(targets.crops) * targets.pixels);
  const std::vector<Dice> dice(sums.begin(), sums.end());
  for_pixels(targets, [&](std::size_t index, const Categories& known) {
    const auto slope_of = [&](std::size_t c) {
      const bool counts = sums[c].belonging > 0;
      return counts ? dice_share * dice[c].slope(targets.belongs[index + c] != 0) : 0.0;
    };
    double mean = 0;
    for (const std::size_t c : known) mean += slope_of(c) * gradient[index + c];
    for (const std::size_t c : known) {
      const double probability = gradient[index + c];
      gradient[index + c] =
          static_cast<float>(entropy_share * (probability - targets.belongs[index + c]) +
                             probability * (slope_of(c) - mean));
    }
  });
  double loss = entropy * entropy_share;
  for (std::size_t c = 0; c < sums.size(); ++c) {
    if (sums[c].belonging > 0) loss += dice_share * dice[c].loss();
  }
  return loss;
}

}  // namespace telvar::segmenter
