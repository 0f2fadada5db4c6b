// Between this program's values and the library's records.
#pragma once

#include <TelvarTypes/Image.h>
#include <TelvarTypes/ROI.h>
#include <TelvarTypes/SmartOCR.h>

#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>

#include "app/region.h"
#include "app/tool_kind.h"

namespace telvar_host {

namespace Types = Orbalt::TelvarWrapper::Types;

// An image over the image's pixels; the returned pointer keeps them alive.
std::shared_ptr<Types::Image> to_image(const cv::Mat& image);

// A copy of an 8-bit gray result image. Throws failure when it is anything else.
cv::Mat to_mat(const Types::ResultImage& image);

// Null without a region.
std::shared_ptr<Types::ROI> to_roi(const std::optional<Region>& region);

inline Types::SmartOCR::Size to_size(const NominalSize& size) {
  return {size.width, size.height};
}

}  // namespace telvar_host
