#include "images/resize.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace telvar_host {

cv::Mat shrunk(const cv::Mat& image, int longest) {
  const int side = std::max(image.cols, image.rows);
  if (side <= longest) return image;
  cv::Mat small;
  const double scale = static_cast<double>(longest) / side;
  cv::resize(image, small,
             {std::max(1, cvRound(image.cols * scale)), std::max(1, cvRound(image.rows * scale))},
             0, 0, cv::INTER_AREA);
  return small;
}

}  // namespace telvar_host
