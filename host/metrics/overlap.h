// Intersection over union of a probability image with its true mask, at every threshold at once.
#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <optional>

namespace telvar_host {

class Overlap {
 public:
  // `probability` 8-bit gray, `truth` 8-bit, non-zero belongs; same size.
  void add(const cv::Mat& probability, const cv::Mat& truth);
  void add(const Overlap& other);

  // A pixel counts as found when its probability is at least `threshold` (0..255). Empty when
  // neither the truth nor the answer has a pixel.
  std::optional<double> iou(int threshold = 128) const;
  std::uint64_t true_pixels() const;
  std::uint64_t wrong_pixels(int threshold = 128) const;

 private:
  std::array<std::uint64_t, 256> inside_{};   // probabilities of pixels that belong
  std::array<std::uint64_t, 256> outside_{};  // and of those that do not
};

}  // namespace telvar_host
