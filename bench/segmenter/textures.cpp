#include "textures.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace telvar::bench {
namespace {

cv::Mat white_noise(cv::Size size, cv::RNG& random) {
  cv::Mat noise(size, CV_32F);
  random.fill(noise, cv::RNG::NORMAL, 0.0, 1.0);
  return noise;
}

void standardise(cv::Mat& values) {
  cv::Scalar mean, deviation;
  cv::meanStdDev(values, mean, deviation);
  values = (values - mean[0]) / std::max(1e-6, deviation[0]);
}

/// Noise drawn out along `angle`: made larger along x, then turned.
cv::Mat brushed(cv::Size size, double scale, double angle, cv::RNG& random) {
  const int side = static_cast<int>(std::ceil(std::hypot(size.width, size.height))) + 4;
  cv::Mat noise = white_noise({side, side}, random);
  cv::GaussianBlur(noise, noise, {}, 14.0 * scale, 0.5 * scale);
  const cv::Point2f centre(side / 2.0f, side / 2.0f);
  cv::Mat turn = cv::getRotationMatrix2D(centre, angle * 180.0 / CV_PI, 1.0);
  turn.at<double>(0, 2) += size.width / 2.0 - centre.x;
  turn.at<double>(1, 2) += size.height / 2.0 - centre.y;
  cv::Mat out;
  cv::warpAffine(noise, out, turn, size, cv::INTER_LINEAR, cv::BORDER_REFLECT);
  return out;
}

cv::Mat cast(cv::Size size, double scale, cv::RNG& random) {
  cv::Mat sum = cv::Mat::zeros(size, CV_32F);
  double weight = 1.0;
  for (double sigma = 8.0 * scale; sigma > 0.4; sigma *= 0.5, weight *= 0.7) {
    sum += weight * smooth_noise(size, sigma, random);
  }
  return sum;
}

/// Two warped gratings over and under each other, as threads do.
cv::Mat woven(cv::Size size, double scale, double angle, cv::RNG& random) {
  const cv::Mat warp = smooth_noise(size, 12.0, random);
  const double period = 6.0 * scale;
  cv::Mat out(size, CV_32F);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double u = x * std::cos(angle) + y * std::sin(angle) + 0.5 * warp.at<float>(y, x);
      const double v = -x * std::sin(angle) + y * std::cos(angle) + 0.5 * warp.at<float>(y, x);
      out.at<float>(y, x) =
          static_cast<float>(std::sin(2 * CV_PI * u / period) * std::sin(2 * CV_PI * v / period));
    }
  }
  return out + 0.4 * white_noise(size, random);
}

/// Distance to scattered points: a leathery net of cells.
cv::Mat cells(cv::Size size, double scale, cv::RNG& random) {
  cv::Mat seeds(size, CV_8U, cv::Scalar(255));
  const int count = static_cast<int>(size.area() / (90.0 * scale * scale)) + 1;
  for (int i = 0; i < count; ++i) {
    seeds.at<uchar>(random.uniform(0, size.height), random.uniform(0, size.width)) = 0;
  }
  cv::Mat distance;
  cv::distanceTransform(seeds, distance, cv::DIST_L2, 5);
  standardise(distance);
  return distance + 0.3 * white_noise(size, random);
}

cv::Mat ripple(cv::Size size, double scale, double angle, cv::RNG& random) {
  const cv::Mat warp = smooth_noise(size, 20.0, random);
  cv::Mat out(size, CV_32F);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double u = x * std::cos(angle) + y * std::sin(angle) + 4.0 * warp.at<float>(y, x);
      out.at<float>(y, x) = static_cast<float>(std::sin(2 * CV_PI * u / (7.0 * scale)));
    }
  }
  return out + 0.4 * white_noise(size, random);
}

}  // namespace

cv::Mat smooth_noise(cv::Size size, double sigma, cv::RNG& random) {
  cv::Mat noise = white_noise(size, random);
  cv::GaussianBlur(noise, noise, {}, sigma, sigma, cv::BORDER_REFLECT);
  standardise(noise);
  return noise;
}

cv::Mat make_surface(Surface kind, cv::Size size, double scale, double angle, cv::RNG& random) {
  cv::Mat out;
  switch (kind) {
    case Surface::grain:
      out = smooth_noise(size, 0.8 * scale, random);
      break;
    case Surface::cast:
      out = cast(size, scale, random);
      break;
    case Surface::brushed:
      out = brushed(size, scale, angle, random);
      break;
    case Surface::woven:
      out = woven(size, scale, angle, random);
      break;
    case Surface::cells:
      out = cells(size, scale, random);
      break;
    case Surface::ripple:
      out = ripple(size, scale, angle, random);
      break;
  }
  standardise(out);
  return out;
}

}  // namespace telvar::bench
