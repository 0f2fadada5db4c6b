#pragma once

// Labelled images for the classifier benchmark.

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace bench {

struct LabelledImages {
  std::string name;
  int categories = 0;
  std::vector<cv::Mat> images;  // 8 bit, gray or BGR
  std::vector<int> labels;
};

struct SplitImages {
  LabelledImages train, test;
};

/// 28 x 28 gray images in the IDX format (LeCun), gzip compressed: train-* and t10k-* in
/// `folder`. Throws std::runtime_error naming the file.
SplitImages read_idx_folder(const std::string& folder);

/// Drawn metal parts of ten kinds in colour, 40 to 130 px, any aspect, on uneven ground.
SplitImages draw_parts(int train_per_category, int test_per_category);

/// Generated colour textures of eight kinds, 48 to 96 px.
SplitImages draw_textures(int train_per_category, int test_per_category);

/// "parts", "textures" or the folder of an IDX set.
SplitImages open_set(const std::string& name);

/// A random choice of `per_category` training images of each category.
LabelledImages draw_subset(const LabelledImages& all, int per_category, unsigned seed);

}  // namespace bench
