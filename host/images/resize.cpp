#include "images/resize.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace telvar_host {

cv::Mat shrunk(const cv::Mat& picture, int longest) {
  const int side = std::max(picture.cols, picture.rows);
  if (side <= longest) return picture;
  cv::Mat small;
  const double scale = static_cast<double>(longest) / side;
  cv::resize(
      picture, small,
      {std::max(1, cvRound(picture.cols * scale)), std::max(1, cvRound(picture.rows * scale))}, 0,
      0, cv::INTER_AREA);
  return small;
}

}  // namespace telvar_host
