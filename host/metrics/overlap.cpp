#include "metrics/overlap.h"

#include <numeric>

namespace telvar_host {
namespace {

std::uint64_t from(const std::array<std::uint64_t, 256>& histogram, int threshold) {
  return std::accumulate(histogram.begin() + threshold, histogram.end(), std::uint64_t{0});
}

}  // namespace

void Overlap::add(const cv::Mat& probability, const cv::Mat& truth) {
  for (int y = 0; y < truth.rows; ++y) {
    const auto* answer = probability.ptr<unsigned char>(y);
    const auto* belongs = truth.ptr<unsigned char>(y);
    for (int x = 0; x < truth.cols; ++x) ++(belongs[x] != 0 ? inside_ : outside_)[answer[x]];
  }
}

void Overlap::add(const Overlap& other) {
  for (std::size_t i = 0; i < inside_.size(); ++i) {
    inside_[i] += other.inside_[i];
    outside_[i] += other.outside_[i];
  }
}

std::optional<double> Overlap::iou(int threshold) const {
  const auto together = true_pixels() + from(outside_, threshold);
  if (together == 0) return {};
  return static_cast<double>(from(inside_, threshold)) / static_cast<double>(together);
}

std::uint64_t Overlap::true_pixels() const {
  return from(inside_, 0);
}

std::uint64_t Overlap::wrong_pixels(int threshold) const {
  return true_pixels() - from(inside_, threshold) + from(outside_, threshold);
}

}  // namespace telvar_host
