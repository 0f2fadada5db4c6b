#pragma once

// What the bench compares: things that learn from images with masks.

#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "datasets.h"

namespace telvar::bench {

/// A probability image (8 bit, 0..255) by category.
using ProbabilityImages = std::map<std::string, cv::Mat>;

class Method {
 public:
  virtual ~Method() = default;
  virtual std::string name() const = 0;
  virtual void train(const ImageSet& set) = 0;
  virtual ProbabilityImages segment(const cv::Mat& image) = 0;
  /// What the training itself says of its mean IoU; negative when it says nothing.
  virtual double score() const { return -1; }
};

/// The engine behind telvar/segmenter.h.
std::unique_ptr<Method> make_engine_method();

/// A random forest a category (OpenCV's RTrees) on a bank of smoothing, edge, ridge and texture
/// filters. Its threshold is the best one for the training images.
std::unique_ptr<Method> make_forest_method();

/// The gray value alone: the best band of values for each category.
std::unique_ptr<Method> make_threshold_method();

}  // namespace telvar::bench
