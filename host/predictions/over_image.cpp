#include "predictions/over_image.h"

#include <opencv2/imgproc.hpp>

namespace telvar_host {

cv::Mat over_image(const cv::Mat& result, const std::optional<Region>& region,
                   const cv::Size& size) {
  if (!region) return result;
  const auto origin = region->to_image(0, 0);
  const auto right = region->to_image(1, 0);
  const auto down = region->to_image(0, 1);
  const cv::Matx23d to_image(right.first - origin.first, down.first - origin.first, origin.first,
                             right.second - origin.second, down.second - origin.second,
                             origin.second);
  cv::Mat laid;
  cv::warpAffine(result, laid, to_image, size, cv::INTER_LINEAR);
  return laid;
}

}  // namespace telvar_host
