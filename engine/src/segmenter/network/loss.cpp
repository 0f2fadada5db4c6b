#include "segmenter/network/loss.h"

#include <algorithm>
#include <cmath>

#include "segmenter/network/dice.h"

namespace telvar::segmenter {
namespace {

/// Runs through the known values: visit(index into crops x pixels x categories, category).
template <class Visit>
void for_known(const ChunkTargets& targets, const Visit& visit) {
  std::size_t index = 0;
  for (int crop = 0; crop < targets.crops; ++crop) {
    const std::uint8_t* known =
        targets.known.data() + static_cast<std::ptrdiff_t>(crop) * targets.categories;
    for (std::size_t pixel = 0; pixel < targets.pixels; ++pixel) {
      for (int c = 0; c < targets.categories; ++c, ++index) {
        if (known[c]) visit(index, static_cast<std::size_t>(c));
      }
    }
  }
}

/// The sum of the logarithms of factors from 1 to 2, taken of products: logarithms one by one cost
/// more than the rest of the loss.
class SumOfLogarithms {
 public:
  void add(double factor) {
    product_ *= factor;
    if (++factors_ % kMostFactors == 0) take();
  }
  double sum() {
    take();
    return sum_;
  }

 private:
  /// 2 to this power is within the range of a double.
  static constexpr int kMostFactors = 1000;

  void take() {
    sum_ += std::log(product_);
    product_ = 1;
  }

  double sum_ = 0, product_ = 1;
  int factors_ = 0;
};

double known_values(const ChunkTargets& targets) {
  const auto known = std::count(targets.known.begin(), targets.known.end(), 1);
  return static_cast<double>(known) * static_cast<double>(targets.pixels);
}

}  // namespace

double segmentation_loss(const float* logits, const ChunkTargets& targets, float* gradient) {
  const double entropy_share = 1 / std::max(1.0, known_values(targets));
  std::vector<CategorySums> sums(targets.categories);
  std::fill_n(gradient, targets.belongs.size(), 0.0f);
  double entropy = 0;
  SumOfLogarithms tails;
  // `gradient` holds the probabilities until the sums are known.
  for_known(targets, [&](std::size_t i, std::size_t category) {
    const float z = logits[i], belongs = targets.belongs[i];
    const float small = std::exp(-std::fabs(z));
    const float probability = z >= 0 ? 1 / (1 + small) : small / (1 + small);
    entropy += std::max(z, 0.0f) - z * belongs;  // and the logarithm of 1 + small
    tails.add(1.0 + small);
    gradient[i] = probability;
    sums[category].add(probability, targets.belongs[i] != 0);
  });
  // Where a category does not occur, Dice would only press its probability down, much harder than
  // entropy does, until faint marks are lost elsewhere.
  const auto present = std::count_if(sums.begin(), sums.end(),
                                     [](const CategorySums& one) { return one.belonging > 0; });
  const double dice_share = 1.0 / static_cast<double>(std::max<std::ptrdiff_t>(present, 1));
  const std::vector<Dice> dice(sums.begin(), sums.end());
  for_known(targets, [&](std::size_t i, std::size_t category) {
    const double probability = gradient[i];
    const bool belongs = targets.belongs[i];
    double slope = entropy_share * (probability - (belongs ? 1 : 0));
    if (sums[category].belonging > 0) {
      slope += dice_share * dice[category].slope(belongs) * probability * (1 - probability);
    }
    gradient[i] = static_cast<float>(slope);
  });
  double loss = (entropy + tails.sum()) * entropy_share;
  for (std::size_t c = 0; c < sums.size(); ++c) {
    if (sums[c].belonging > 0) loss += dice_share * dice[c].loss();
  }
  return loss;
}

}  // namespace telvar::segmenter
