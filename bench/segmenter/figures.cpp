#include "figures.h"

#include <algorithm>
#include <cmath>

namespace telvar::bench {
namespace {

constexpr int kBins = 10;

int bin_of(int value) {
  return std::min(kBins - 1, value * kBins / 255);
}

}  // namespace

Figures::Figures(const std::vector<std::string>& categories) {
  for (const std::string& category : categories) counts_[category];
}

void Figures::add(const LabelledImage& labelled, const ProbabilityImages& found) {
  for (auto& [category, counts] : counts_) {
    const cv::Mat& values = found.at(category);
    const auto mask = labelled.masks.find(category);
    for (int y = 0; y < values.rows; ++y) {
      for (int x = 0; x < values.cols; ++x) {
        const bool belongs =
            mask != labelled.masks.end() && mask->second.at<unsigned char>(y, x) != 0;
        ++(belongs ? counts.belonging : counts.others)[values.at<unsigned char>(y, x)];
      }
    }
  }
}

double Figures::iou_at(const Counts& counts, int threshold) {
  double shared = 0, claimed = 0, belonging = 0;
  for (int value = 0; value < 256; ++value) {
    belonging += counts.belonging[value];
    if (value < threshold) continue;
    shared += counts.belonging[value];
    claimed += counts.others[value];
  }
  return shared / std::max(1.0, belonging + claimed);
}

double Figures::iou(const std::string& category) const {
  return iou_at(counts_.at(category), 128);
}

double Figures::mean_iou() const {
  double sum = 0;
  for (const auto& [category, counts] : counts_) sum += iou_at(counts, 128);
  return sum / static_cast<double>(counts_.size());
}

double Figures::best_iou() const {
  double sum = 0;
  for (const auto& [category, counts] : counts_) {
    double best = 0;
    for (int threshold = 1; threshold < 256; ++threshold) {
      best = std::max(best, iou_at(counts, threshold));
    }
    sum += best;
  }
  return sum / static_cast<double>(counts_.size());
}

double Figures::mean_calibration_error(int lowest, int highest) const {
  double sum = 0;
  for (const auto& [category, counts] : counts_) {
    std::array<double, kBins> claims{}, holds{};
    double pixels = 0;
    for (int value = lowest; value <= highest; ++value) {
      const double here = counts.belonging[value] + counts.others[value];
      claims[bin_of(value)] += here * value / 255;
      holds[bin_of(value)] += counts.belonging[value];
      pixels += here;
    }
    double distance = 0;
    for (int bin = 0; bin < kBins; ++bin) distance += std::fabs(claims[bin] - holds[bin]);
    sum += distance / std::max(1.0, pixels);
  }
  return sum / static_cast<double>(counts_.size());
}

double Figures::calibration_error() const {
  return mean_calibration_error(0, 255);
}

double Figures::unsure_calibration_error() const {
  return mean_calibration_error(13, 242);
}

}  // namespace telvar::bench
