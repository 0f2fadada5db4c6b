#include "aerial_set.h"

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "shapes.h"
#include "textures.h"

namespace telvar::bench {
namespace {

const cv::Size kSize(320, 320);

/// Blue, green and red planes, 0..255.
using Planes = std::vector<cv::Mat>;

struct Tint {
  double blue, green, red;
};

/// Gives the pixels of a mask a tint, lightened or darkened by `relief`.
void paint(Planes& planes, const cv::Mat& mask, const Tint& tint, const cv::Mat& relief) {
  const double values[] = {tint.blue, tint.green, tint.red};
  for (int c = 0; c < 3; ++c) {
    const cv::Mat painted = values[c] + relief;
    painted.copyTo(planes[c], mask);
  }
}

/// What lies under a shape is no longer seen.
void hide(LabelledImage& labelled, const cv::Mat& shape) {
  for (auto& [category, mask] : labelled.masks) mask.setTo(0, shape);
}

cv::Mat everywhere() {
  return {kSize, CV_8U, cv::Scalar(255)};
}

/// Meadow with patches of bare soil.
Planes draw_ground(cv::RNG& random) {
  Planes planes(3);
  for (cv::Mat& plane : planes) plane = cv::Mat::zeros(kSize, CV_32F);
  const cv::Mat rough = 9.0 * make_surface(Surface::cast, kSize, 1.4, 0.0, random);
  paint(planes, everywhere(), {70, 118, 98}, rough + 8.0 * smooth_noise(kSize, 40.0, random));
  const cv::Mat soil = smooth_noise(kSize, 30.0, random) > 1.1;
  paint(planes, soil, {92, 118, 138}, rough);
  return planes;
}

Tint crop_tint(cv::RNG& random) {
  const double ripe = random.uniform(0.0, 1.0);
  return {62 + 30 * ripe, 120 + 40 * ripe, 74 + 106 * ripe};
}

void draw_fields(Planes& planes, LabelledImage& labelled, cv::RNG& random) {
  for (int i = random.uniform(2, 5); i > 0; --i) {
    const cv::Point2f centre(random.uniform(20.0f, 300.0f), random.uniform(20.0f, 300.0f));
    const cv::RotatedRect box(centre,
                              {random.uniform(70.0f, 170.0f), random.uniform(60.0f, 120.0f)},
                              random.uniform(0.0f, 180.0f));
    cv::Point2f corners[4];
    box.points(corners);
    cv::Mat mask = blank(kSize);
    fill(mask, std::vector<cv::Point>(corners, corners + 4), 255);
    const bool striped = random.uniform(0, 3) != 0;
    const cv::Mat relief =
        striped ? cv::Mat(random.uniform(4.0, 9.0) * make_surface(Surface::ripple, kSize,
                                                                  random.uniform(0.8, 1.6),
                                                                  box.angle * CV_PI / 180, random))
                : cv::Mat(3.0 * make_surface(Surface::grain, kSize, 1.0, 0.0, random));
    paint(planes, mask, crop_tint(random), relief);
    add_mask(labelled, "field", mask);
  }
}

/// The middle of a road across the tile, from one side to the other.
std::vector<cv::Point> draw_course(cv::RNG& random) {
  const bool across = random.uniform(0, 2) == 0;
  const double begin = random.uniform(40.0, 280.0), end = random.uniform(40.0, 280.0);
  const double bend = random.uniform(-40.0, 40.0);
  std::vector<cv::Point> course;
  for (int i = -1; i <= 21; ++i) {
    const double t = i / 20.0;
    const double along = 320 * t, aside = begin + (end - begin) * t + bend * std::sin(CV_PI * t);
    course.emplace_back(cvRound(across ? along : aside), cvRound(across ? aside : along));
  }
  return course;
}

/// A road and its houses.
void draw_settlement(Planes& planes, LabelledImage& labelled, cv::RNG& random) {
  const std::vector<cv::Point> course = draw_course(random);
  cv::Mat road = blank(kSize);
  const int width = random.uniform(7, 14);
  cv::polylines(road, course, false, cv::Scalar(255), width);
  const double gray = random.uniform(120.0, 165.0);
  paint(planes, road, {gray, gray, gray},
        4.0 * make_surface(Surface::grain, kSize, 1.0, 0, random));
  hide(labelled, road);
  add_mask(labelled, "road", road);
  for (int i = random.uniform(3, 8); i > 0; --i) {
    const cv::Point at = course[static_cast<std::size_t>(random.uniform(2, 21))];
    const double away = random.uniform(26.0, 44.0) * (random.uniform(0, 2) == 0 ? -1 : 1);
    const cv::Point2f centre(float(at.x + away), float(at.y + away * random.uniform(-1.0, 1.0)));
    const cv::RotatedRect box(centre, {random.uniform(18.0f, 34.0f), random.uniform(14.0f, 22.0f)},
                              random.uniform(0.0f, 180.0f));
    cv::Point2f p[4];
    box.points(p);
    const cv::Point2f ridge[] = {(p[0] + p[1]) / 2, (p[2] + p[3]) / 2};
    cv::Mat sunny = blank(kSize), whole = blank(kSize);
    fill(whole, {p[0], p[1], p[2], p[3]}, 255);
    fill(sunny, {p[0], ridge[0], ridge[1], p[3]}, 255);
    whole.setTo(0, road);
    sunny.setTo(0, road);
    const double red = random.uniform(0.0, 1.0);
    const Tint tint{95 - 25 * red, 95 - 10 * red, 100 + 60 * red};
    const cv::Mat tiles = 3.0 * make_surface(Surface::woven, kSize, 0.8, box.angle, random);
    paint(planes, whole, {tint.blue * 0.7, tint.green * 0.7, tint.red * 0.7}, tiles);
    paint(planes, sunny, tint, tiles);
    hide(labelled, whole);
    add_mask(labelled, "roof", whole);
  }
}

void draw_trees(Planes& planes, LabelledImage& labelled, cv::RNG& random) {
  for (int i = random.uniform(8, 22); i > 0; --i) {
    const cv::Point2d at(random.uniform(0.0, 320.0), random.uniform(0.0, 320.0));
    const double radius = random.uniform(5.0, 12.0);
    cv::Mat crown = blank(kSize);
    fill(crown, wavy_outline(at, radius, radius, 0.0, 0.15, random), 255);
    paint(planes, crown, {40, 82, 56}, 10.0 * make_surface(Surface::cast, kSize, 0.8, 0, random));
    hide(labelled, crown);
  }
}

LabelledImage draw_tile(cv::RNG& random) {
  Planes planes = draw_ground(random);
  LabelledImage labelled;
  draw_fields(planes, labelled, random);
  for (int i = random.uniform(1, 3); i > 0; --i) draw_settlement(planes, labelled, random);
  draw_trees(planes, labelled, random);
  const double haze = random.uniform(0.0, 0.3), light = random.uniform(0.8, 1.15);
  std::vector<cv::Mat> bytes;
  for (const cv::Mat& plane : planes) {
    bytes.push_back(finished(light * ((1 - haze) * plane + haze * 170.0), 4.0, random));
  }
  cv::merge(bytes, labelled.image);
  return labelled;
}

}  // namespace

ImageSet make_tiles(int train, int test, std::uint64_t seed) {
  return make_set("tiles", {"field", "road", "roof"}, draw_tile, train, test, seed);
}

}  // namespace telvar::bench
