// Results of a region, seen in the image.
#pragma once

#include <opencv2/core/mat.hpp>
#include <optional>

#include "app/region.h"

namespace telvar_host {

// For each pixel of an image of `size` the value of `result`, which is in region pixels, bilinear
// and 0 outside; `result` itself without a region.
cv::Mat over_image(const cv::Mat& result, const std::optional<Region>& region,
                   const cv::Size& size);

}  // namespace telvar_host
