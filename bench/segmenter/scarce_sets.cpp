#include "scarce_sets.h"

#include <opencv2/imgproc.hpp>

#include "shapes.h"
#include "textures.h"

namespace telvar::bench {
namespace {

LabelledImage draw_plate(bool cracked, cv::RNG& random) {
  const cv::Size size(256, 256);
  cv::Mat values = random.uniform(100.0, 150.0) +
                   9.0 * make_surface(Surface::cast, size, 1.2, 0.0, random) +
                   8.0 * smooth_noise(size, 40.0, random);
  LabelledImage labelled;
  if (cracked) {
    cv::Point2d at(random.uniform(50, 206), random.uniform(50, 206));
    double heading = random.uniform(0.0, 6.28);
    cv::Mat mask = blank(size);
    for (int i = 0; i < 24; ++i) {
      heading += random.gaussian(0.5);
      const cv::Point2d next = at + 5.0 * cv::Point2d(std::cos(heading), std::sin(heading));
      cv::line(mask, at, next, cv::Scalar(255), 3);
      at = next;
    }
    values.setTo(random.uniform(70.0, 85.0), mask);
    add_mask(labelled, "crack", mask);
  }
  labelled.image = finished(values, 4.0, random);
  return labelled;
}

LabelledImage draw_coins(cv::RNG& random) {
  const cv::Size size(320, 240);
  cv::Mat values = 95.0 + 14.0 * make_surface(Surface::cells, size, 1.2, 0.0, random) +
                   18.0 * smooth_noise(size, 60.0, random);
  LabelledImage labelled;
  std::vector<Site> sites;
  for (int i = 0; i < 12; ++i) {
    if (!find_site(size, random.uniform(15.0, 28.0), 2, sites, random)) continue;
    const cv::Point2f centre(sites.back().centre);
    const auto radius = static_cast<float>(sites.back().radius);
    const bool coin = i % 3 != 2;
    cv::Mat mask = blank(size);
    if (coin) {
      cv::circle(mask, centre, cvRound(radius), cv::Scalar(255), -1);
    } else {
      const cv::RotatedRect box(centre, {radius * 1.5f, radius * 1.2f},
                                random.uniform(0.0f, 90.0f));
      cv::Point2f corners[4];
      box.points(corners);
      fill(mask, std::vector<cv::Point>(corners, corners + 4), 255);
    }
    const cv::Mat relief =
        random.uniform(120.0, 200.0) + 25.0 * smooth_noise(size, random.uniform(3.0, 6.0), random);
    relief.copyTo(values, mask);
    add_mask(labelled, coin ? "coin" : "sweet", mask);
  }
  labelled.image = finished(values, 5.0, random);
  return labelled;
}

}  // namespace

ImageSet make_coins(int train, int test, std::uint64_t seed) {
  return make_set("coins", {"coin", "sweet"}, draw_coins, train, test, seed);
}

ImageSet make_rare(int train, int test, std::uint64_t seed) {
  ImageSet set{"rare", {"crack"}, {}, {}};
  cv::RNG random(seed);
  for (int i = 0; i < train; ++i) set.train.push_back(draw_plate(i % 7 == 3, random));
  for (int i = 0; i < test; ++i) set.test.push_back(draw_plate(i % 2 == 0, random));
  return set;
}

}  // namespace telvar::bench
