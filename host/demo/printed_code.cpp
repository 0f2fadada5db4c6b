#include "demo/printed_code.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "demo/dot_font.h"

namespace telvar_host {
namespace {

constexpr double kDotPitch = 2.5;  // pixels

// How much ink lies where: drops of about a dot's pitch, none quite in its place.
class Print {
 public:
  Print(cv::RNG& rng, cv::Size size) : rng_(rng), ink_(size, CV_32F, cv::Scalar(0)) {}

  void drop(cv::Point2d centre) {
    centre.x += rng_.gaussian(0.09 * kDotPitch);
    centre.y += rng_.gaussian(0.09 * kDotPitch);
    const double radius = kDotPitch * rng_.uniform(0.42, 0.56);
    const double strength = rng_.uniform(0.75, 1.0);
    const auto reach = static_cast<int>(std::ceil(2 * radius));
    for (int y = cvRound(centre.y) - reach; y <= cvRound(centre.y) + reach; ++y) {
      for (int x = cvRound(centre.x) - reach; x <= cvRound(centre.x) + reach; ++x) {
        if (x < 0 || y < 0 || x >= ink_.cols || y >= ink_.rows) continue;
        const double distance = std::hypot(x - centre.x, y - centre.y) / radius;
        const auto here = static_cast<float>(strength * std::exp(-std::pow(distance, 4)));
        ink_.at<float>(y, x) = std::max(ink_.at<float>(y, x), here);
      }
    }
  }

  const cv::Mat& ink() const { return ink_; }

 private:
  cv::RNG& rng_;
  cv::Mat ink_;
};

// Prints the lines, turned by a few degrees about the middle; returns where each character stands.
std::vector<CharacterMark> print_lines(cv::RNG& rng, const std::vector<std::string>& lines,
                                       Print& print) {
  const double angle = rng.uniform(-4.0, 4.0) * CV_PI / 180;
  const cv::Point2d origin(print.ink().cols / 2.0 + rng.uniform(-15.0, 15.0),
                           print.ink().rows / 2.0 + rng.uniform(-6.0, 6.0));
  const auto placed = [&](double column, double row) {
    const cv::Point2d flat(column * kDotPitch, row * kDotPitch);
    return origin + cv::Point2d(flat.x * std::cos(angle) - flat.y * std::sin(angle),
                                flat.x * std::sin(angle) + flat.y * std::cos(angle));
  };
  constexpr double kAdvance = kDotColumns + 1.4;
  constexpr double kLineDistance = kDotRows + 4;
  std::vector<CharacterMark> marks;
  for (std::size_t line = 0; line < lines.size(); ++line) {
    const double top = (static_cast<double>(line) - 1) * kLineDistance + 2;
    const double first = -kAdvance * static_cast<double>(lines[line].size()) / 2;
    for (std::size_t i = 0; i < lines[line].size(); ++i) {
      const double left = first + kAdvance * static_cast<double>(i);
      for (const auto& dot : dots_of(lines[line][i])) print.drop(placed(left + dot.x, top + dot.y));
      const auto centre = placed(left + (kDotColumns - 1) / 2.0, top + (kDotRows - 1) / 2.0);
      marks.push_back({centre.x, centre.y, std::string(1, lines[line][i])});
    }
  }
  return marks;
}

// What a camera makes of it: ink on the surface, a little out of focus, with the sensor's noise.
cv::Mat photographed(cv::RNG& rng, const cv::Mat& surface, const cv::Mat& ink) {
  constexpr double kInk = 30;
  const double opacity = rng.uniform(0.7, 0.95);
  cv::Mat image = surface + opacity * ink.mul(kInk - surface);
  cv::GaussianBlur(image, image, {}, rng.uniform(0.4, 0.8));
  cv::Mat noise(image.size(), CV_32F);
  rng.fill(noise, cv::RNG::NORMAL, 0, 4);
  image += noise;
  image.convertTo(image, CV_8U);
  return image;
}

}  // namespace

NominalSize printed_character_size() {
  return {static_cast<float>(kDotColumns * kDotPitch), static_cast<float>(kDotRows * kDotPitch)};
}

PrintedCode print_code(cv::RNG& rng, const cv::Mat& surface,
                       const std::vector<std::string>& lines) {
  Print print(rng, surface.size());
  PrintedCode code;
  code.characters = print_lines(rng, lines, print);
  code.image = photographed(rng, surface, print.ink());
  return code;
}

}  // namespace telvar_host
