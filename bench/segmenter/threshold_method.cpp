#include <array>
#include <opencv2/imgproc.hpp>

#include "methods.h"

namespace telvar::bench {
namespace {

struct Band {
  int low = 0;
  int high = 255;
};

cv::Mat to_gray(const cv::Mat& image) {
  if (image.channels() == 1) return image;
  cv::Mat gray;
  cv::cvtColor(image, gray, cv::COLOR_BGR2GRAY);
  return gray;
}

/// The band of gray values with the best intersection over union.
Band best_band(const std::array<double, 257>& inside, const std::array<double, 257>& all) {
  Band best;
  double best_iou = -1;
  for (int low = 0; low < 256; ++low) {
    for (int high = low; high < 256; ++high) {
      const double shared = inside[high + 1] - inside[low];
      const double claimed = all[high + 1] - all[low];
      const double iou = shared / std::max(1.0, inside[256] + claimed - shared);
      if (iou > best_iou) {
        best_iou = iou;
        best = {low, high};
      }
    }
  }
  return best;
}

class ThresholdMethod : public Method {
 public:
  std::string name() const override { return "threshold"; }

  void train(const ImageSet& set) override {
    for (const std::string& category : set.categories) {
      std::array<double, 257> inside{}, all{};  // cumulated histograms
      for (const LabelledImage& labelled : set.train) {
        const cv::Mat gray = to_gray(labelled.image);
        const auto mask = labelled.masks.find(category);
        for (int i = 0; i < static_cast<int>(gray.total()); ++i) {
          ++all[gray.data[i] + 1];
          if (mask != labelled.masks.end() && mask->second.data[i] != 0) ++inside[gray.data[i] + 1];
        }
      }
      for (int i = 1; i < 257; ++i) {
        all[i] += all[i - 1];
        inside[i] += inside[i - 1];
      }
      bands_[category] = best_band(inside, all);
    }
  }

  ProbabilityImages segment(const cv::Mat& image) override {
    const cv::Mat gray = to_gray(image);
    ProbabilityImages found;
    for (const auto& [category, band] : bands_) {
      cv::inRange(gray, band.low, band.high, found[category]);
    }
    return found;
  }

 private:
  std::map<std::string, Band> bands_;
};

}  // namespace

std::unique_ptr<Method> make_threshold_method() {
  return std::make_unique<ThresholdMethod>();
}

}  // namespace telvar::bench
