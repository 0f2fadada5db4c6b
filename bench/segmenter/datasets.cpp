#include "datasets.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>

#include "shapes.h"
#include "textures.h"

namespace telvar::bench {
namespace {

/// Anti-aliased coverage of a random walk from a random place, 0..1, CV_32F.
cv::Mat draw_walk(cv::Size size, int steps, double step, double wobble, double width,
                  cv::RNG& random) {
  // Drawn four times too large, so that widths below a pixel have their true coverage.
  constexpr int kFine = 4;
  cv::Mat fine = cv::Mat::zeros(size * kFine, CV_8U);
  cv::Point2d at(random.uniform(0.1, 0.9) * size.width, random.uniform(0.1, 0.9) * size.height);
  double heading = random.uniform(0.0, 2 * CV_PI);
  for (int i = 0; i < steps; ++i) {
    heading += random.gaussian(wobble);
    const cv::Point2d next = at + step * cv::Point2d(std::cos(heading), std::sin(heading));
    cv::line(fine, at * kFine, next * kFine, cv::Scalar(255), std::max(1, cvRound(width * kFine)));
    at = next;
  }
  cv::Mat coverage;
  cv::resize(fine, coverage, size, 0, 0, cv::INTER_AREA);
  coverage.convertTo(coverage, CV_32F, 1.0 / 255);
  return coverage;
}

cv::Mat draw_scratch(cv::Size size, cv::RNG& random) {
  return draw_walk(size, random.uniform(4, 10), random.uniform(10.0, 26.0), 0.05,
                   random.uniform(1.2, 2.6), random);
}

cv::Mat draw_crack(cv::Size size, cv::RNG& random) {
  return draw_walk(size, random.uniform(12, 36), random.uniform(3.0, 6.0), 0.7,
                   random.uniform(1.0, 2.4), random);
}

cv::Mat draw_pits(cv::Size size, cv::RNG& random) {
  cv::Mat coverage = cv::Mat::zeros(size, CV_32F);
  const cv::Point centre(random.uniform(20, size.width - 20), random.uniform(20, size.height - 20));
  const int count = random.uniform(3, 9);
  for (int i = 0; i < count; ++i) {
    const cv::Point at(centre.x + cvRound(random.gaussian(9)),
                       centre.y + cvRound(random.gaussian(9)));
    const cv::Size radii(random.uniform(2, 5), random.uniform(2, 4));
    cv::ellipse(coverage, at, radii, random.uniform(0.0, 180.0), 0, 360, cv::Scalar(1), -1,
                cv::LINE_8);
  }
  cv::GaussianBlur(coverage, coverage, {}, 0.7);
  return coverage;
}

cv::Mat to_mask(const cv::Mat& coverage) {
  cv::Mat mask = coverage > 0.35;
  return mask;
}

cv::Mat to_bytes(const cv::Mat& values) {
  cv::Mat bytes;
  values.convertTo(bytes, CV_8U);
  return bytes;
}

LabelledImage draw_defects(cv::RNG& random) {
  const cv::Size size(384, 288);
  constexpr Surface kGrounds[] = {Surface::grain, Surface::cast, Surface::brushed, Surface::woven};
  const double texture = random.uniform(7.0, 14.0);
  cv::Mat values =
      texture * make_surface(kGrounds[random.uniform(0, 4)], size, random.uniform(0.9, 1.6),
                             random.uniform(0.0, CV_PI), random);
  values += random.uniform(90.0, 160.0) + 10.0 * smooth_noise(size, 60.0, random);
  LabelledImage labelled;
  const std::function<cv::Mat(cv::Size, cv::RNG&)> kinds[] = {draw_scratch, draw_crack, draw_pits};
  const char* const names[] = {"scratch", "crack", "pit"};
  for (int kind = 0; kind < 3; ++kind) {
    const int count = random.uniform(0, 3) == 0 ? 0 : random.uniform(1, 4);
    for (int i = 0; i < count; ++i) {
      const cv::Mat coverage = kinds[kind](size, random);
      // Scratches shine, cracks and pits are dark; contrast is 2 to 4 deviations of the surface.
      const double contrast = texture * random.uniform(2.0, 4.0) * (kind == 0 ? 1.0 : -1.0);
      values += contrast * coverage;
      add_mask(labelled, names[kind], to_mask(coverage));
    }
  }
  labelled.image = to_bytes(values);
  return labelled;
}

LabelledImage draw_mosaic(cv::RNG& random) {
  const cv::Size size(320, 320);
  constexpr int kTextures = 5;
  const char* const names[] = {"cast", "woven", "cells", "ripple"};
  constexpr Surface kKinds[] = {Surface::cast, Surface::woven, Surface::cells, Surface::ripple,
                                Surface::grain};
  cv::Mat values(size, CV_32F);
  cv::Mat owner(size, CV_8U);
  std::vector<cv::Point> sites(static_cast<std::size_t>(random.uniform(6, 12)));
  for (cv::Point& site : sites) {
    site = {random.uniform(0, size.width), random.uniform(0, size.height)};
  }
  const cv::Mat bend_x = 14.0 * smooth_noise(size, 18.0, random);
  const cv::Mat bend_y = 14.0 * smooth_noise(size, 18.0, random);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const cv::Point2f at(x + bend_x.at<float>(y, x), y + bend_y.at<float>(y, x));
      const auto nearest = std::min_element(sites.begin(), sites.end(), [&](auto a, auto b) {
        return cv::norm(cv::Point2f(a) - at) < cv::norm(cv::Point2f(b) - at);
      });
      owner.at<uchar>(y, x) = static_cast<uchar>((nearest - sites.begin()) % kTextures);
    }
  }
  LabelledImage labelled;
  for (int i = 0; i < kTextures; ++i) {
    const cv::Mat mask = owner == i;
    const cv::Mat surface =
        make_surface(kKinds[i], size, random.uniform(0.9, 1.5), random.uniform(0.0, CV_PI), random);
    const cv::Mat shaded = 128.0 + random.uniform(18.0, 32.0) * surface;
    shaded.copyTo(values, mask);
    if (i < 4 && cv::countNonZero(mask) > 0) add_mask(labelled, names[i], mask);
  }
  labelled.image = to_bytes(values + 12.0 * smooth_noise(size, 50.0, random));
  return labelled;
}

void draw_clutter(cv::Mat& values, double brightness, cv::RNG& random) {
  const cv::Point at(random.uniform(0, values.cols), random.uniform(0, values.rows));
  const int extent = random.uniform(14, 30);
  const cv::RotatedRect box(at, cv::Size2f(extent * 2.0f, extent * 0.7f),
                            random.uniform(0.0f, 180.0f));
  cv::Point2f corners[4];
  box.points(corners);
  switch (random.uniform(0, 3)) {
    case 0: {
      std::vector<cv::Point> polygon(corners, corners + 4);
      cv::fillConvexPoly(values, polygon, cv::Scalar(brightness), cv::LINE_8);
      break;
    }
    case 1:
      cv::rectangle(values, {at.x - extent, at.y - extent, extent * 2, extent * 2},
                    cv::Scalar(brightness), -1);
      break;
    default:
      cv::circle(values, at, extent, cv::Scalar(brightness), extent / 3);
  }
}

LabelledImage draw_discs(cv::RNG& random) {
  const cv::Size size(384, 288);
  cv::Mat values = 60.0 + 20.0 * smooth_noise(size, 50.0, random);
  for (int i = random.uniform(4, 9); i > 0; --i)
    draw_clutter(values, random.uniform(140, 220), random);
  LabelledImage labelled;
  for (int i = random.uniform(2, 6); i > 0; --i) {
    const cv::Point at(random.uniform(30, size.width - 30), random.uniform(30, size.height - 30));
    const cv::Size radii(random.uniform(12, 30), random.uniform(12, 30));
    const double angle = random.uniform(0.0, 180.0);
    cv::Mat mask = cv::Mat::zeros(size, CV_8U);
    cv::ellipse(mask, at, radii, angle, 0, 360, cv::Scalar(255), -1, cv::LINE_8);
    values.setTo(random.uniform(140, 220), mask);
    add_mask(labelled, "disc", mask);
  }
  cv::GaussianBlur(values, values, {}, 1.0);
  cv::Mat noise(size, CV_32F);
  random.fill(noise, cv::RNG::NORMAL, 0.0, 5.0);
  labelled.image = to_bytes(values + noise);
  return labelled;
}

LabelledImage draw_stains(cv::RNG& random) {
  const cv::Size size(320, 256);
  const cv::Mat ground = 150.0 + 10.0 * make_surface(Surface::cast, size, 1.5, 0.0, random);
  cv::Mat planes[3] = {ground.clone(), ground.clone(), ground.clone()};
  LabelledImage labelled;
  for (int i = random.uniform(2, 6); i > 0; --i) {
    const cv::Point at(random.uniform(0, size.width), random.uniform(0, size.height));
    cv::Mat blob = cv::Mat::zeros(size, CV_32F);
    cv::ellipse(blob, at, {random.uniform(15, 45), random.uniform(15, 35)},
                random.uniform(0.0, 180.0), 0, 360, cv::Scalar(1), -1);
    cv::GaussianBlur(blob, blob, {}, 6.0);
    const cv::Mat mask = (blob + 0.08 * smooth_noise(size, 5.0, random)) > 0.5;
    const bool gray = random.uniform(0, 2) == 0;
    const double darker = random.uniform(0.75, 0.9);
    // A tint of the same luminance as the gray blotch (BT.601 weights).
    const double tint = gray ? 0.0 : random.uniform(0.10, 0.2);
    const double gains[3] = {darker - tint, darker + 0.3 * tint, darker - 0.2 * tint};
    for (int c = 0; c < 3; ++c) {
      const cv::Mat changed = planes[c] * gains[c];
      changed.copyTo(planes[c], mask);
    }
    if (!gray) add_mask(labelled, "stain", mask);
  }
  for (int i = random.uniform(1, 5); i > 0; --i) {
    const cv::Mat coverage = draw_scratch(size, random);
    for (cv::Mat& plane : planes) plane -= 45.0 * coverage;
    add_mask(labelled, "scratch", to_mask(coverage));
  }
  cv::Mat merged;
  cv::merge(planes, 3, merged);
  labelled.image = to_bytes(merged);
  return labelled;
}

}  // namespace

ImageSet make_defects(int train, int test, std::uint64_t seed) {
  return make_set("defects", {"scratch", "crack", "pit"}, draw_defects, train, test, seed);
}

ImageSet make_mosaics(int train, int test, std::uint64_t seed) {
  return make_set("mosaics", {"cast", "woven", "cells", "ripple"}, draw_mosaic, train, test, seed);
}

ImageSet make_discs(int train, int test, std::uint64_t seed) {
  return make_set("discs", {"disc"}, draw_discs, train, test, seed);
}

ImageSet make_stains(int train, int test, std::uint64_t seed) {
  return make_set("stains", {"stain", "scratch"}, draw_stains, train, test, seed);
}

}  // namespace telvar::bench
