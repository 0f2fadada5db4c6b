#pragma once

// The soft Dice loss of one category (Milletari et al., 2016).

namespace telvar::segmenter {

/// Sums over the known pixels of one category.
struct CategorySums {
  double shared = 0;  // probability on pixels that belong
  double probability = 0;
  double belonging = 0;  // pixels that belong

  void add(double pixel_probability, bool belongs) {
    shared += belongs ? pixel_probability : 0;
    probability += pixel_probability;
    belonging += belongs;
  }
};

/// The Dice loss of one category, 1 - (2 shared + s) / (probability + belonging + s), and what its
/// gradient by the probability of a pixel is made of.
struct Dice {
  /// Pixels added to both sides of the ratio, so that crops with next to nothing weigh little.
  static constexpr double kSmoothing = 20.0;

  explicit Dice(const CategorySums& sums)
      : denominator(sums.probability + sums.belonging + kSmoothing),
        ratio((2 * sums.shared + kSmoothing) / denominator) {}

  double loss() const { return 1 - ratio; }
  double slope(bool belongs) const { return (ratio - (belongs ? 2 : 0)) / denominator; }

  double denominator, ratio;
};

}  // namespace telvar::segmenter
