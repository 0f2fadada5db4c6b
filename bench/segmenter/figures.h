#pragma once

// What the bench says of a method on the test images of a set.

#include <array>
#include <map>
#include <string>
#include <vector>

#include "methods.h"

namespace telvar::bench {

class Figures {
 public:
  explicit Figures(const std::vector<std::string>& categories);

  void add(const LabelledImage& labelled, const ProbabilityImages& found);

  /// Intersection over union at 128 over all images.
  double iou(const std::string& category) const;
  double mean_iou() const;

  /// Mean over the categories, each at the threshold that suits the test images best.
  double best_iou() const;

  /// Expected calibration error: the mean distance between what is claimed and how often it holds,
  /// over ten bins weighted by their pixels; mean over the categories.
  double calibration_error() const;

  /// The same over pixels of probability 13 to 242 alone: most pixels are sure, and say little.
  double unsure_calibration_error() const;

 private:
  /// Pixels by what was found for them, 0..255.
  struct Counts {
    std::array<double, 256> belonging{}, others{};
  };
  static double iou_at(const Counts& counts, int threshold);
  double mean_calibration_error(int lowest, int highest) const;

  std::map<std::string, Counts> counts_;
};

}  // namespace telvar::bench
