// Making images fit a page.
#pragma once

#include <opencv2/core/mat.hpp>

namespace telvar_host {

// The image, smaller where its longer side exceeds `longest` pixels.
cv::Mat shrunk(const cv::Mat& image, int longest);

}  // namespace telvar_host
