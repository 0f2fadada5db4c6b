#include "shapes.h"

#include <opencv2/imgproc.hpp>

#include "textures.h"

namespace telvar::bench {

bool find_site(cv::Size size, double radius, double gap, std::vector<Site>& sites,
               cv::RNG& random) {
  for (int attempt = 0; attempt < 200; ++attempt) {
    const cv::Point2d at(random.uniform(radius + 4, size.width - radius - 4),
                         random.uniform(radius + 4, size.height - radius - 4));
    bool free = true;
    for (const Site& site : sites) {
      free = free && cv::norm(site.centre - at) > site.radius + radius + gap;
    }
    if (!free) continue;
    sites.push_back({at, radius});
    return true;
  }
  return false;
}

cv::Mat blank(cv::Size size) {
  return cv::Mat::zeros(size, CV_8U);
}

std::vector<cv::Point> wavy_outline(cv::Point2d centre, double radius_x, double radius_y,
                                    double turn, double waves, cv::RNG& random) {
  const double phase = random.uniform(0.0, 6.28), second = random.uniform(0.0, 6.28);
  std::vector<cv::Point> outline;
  for (int i = 0; i < 120; ++i) {
    const double angle = i * 2 * CV_PI / 120;
    const double stretch =
        1 + waves * (std::sin(2 * angle + phase) + 0.6 * std::sin(3 * angle + second));
    const double x = radius_x * stretch * std::cos(angle);
    const double y = radius_y * stretch * std::sin(angle);
    outline.emplace_back(cvRound(centre.x + x * std::cos(turn) - y * std::sin(turn)),
                         cvRound(centre.y + x * std::sin(turn) + y * std::cos(turn)));
  }
  return outline;
}

void fill(cv::Mat& image, const std::vector<cv::Point>& outline, double value) {
  cv::fillPoly(image, std::vector<std::vector<cv::Point>>{outline}, cv::Scalar(value));
}

void add_mask(LabelledImage& labelled, const std::string& category, const cv::Mat& mask) {
  cv::Mat& slot = labelled.masks[category];
  if (slot.empty()) slot = blank(mask.size());
  slot |= mask;
}

cv::Mat finished(cv::Mat values, double noise_strength, cv::RNG& random) {
  cv::GaussianBlur(values, values, {}, 0.8);
  cv::Mat noise(values.size(), CV_32F), bytes;
  random.fill(noise, cv::RNG::NORMAL, 0.0, noise_strength);
  cv::Mat(values + noise).convertTo(bytes, CV_8U);
  return bytes;
}

cv::Mat uneven_ground(cv::Size size, double brightness, cv::RNG& random) {
  return brightness + 6.0 * make_surface(Surface::grain, size, 1.2, 0.0, random) +
         10.0 * smooth_noise(size, 50.0, random);
}

ImageSet make_set(const std::string& name, const std::vector<std::string>& categories,
                  LabelledImage (*draw)(cv::RNG&), int train, int test, std::uint64_t seed) {
  ImageSet set{name, categories, {}, {}};
  cv::RNG random(seed);
  for (int i = 0; i < train; ++i) set.train.push_back(draw(random));
  for (int i = 0; i < test; ++i) set.test.push_back(draw(random));
  return set;
}

}  // namespace telvar::bench
