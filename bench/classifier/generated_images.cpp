#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>

#include "labelled_images.h"

namespace bench {
namespace {

using Point = cv::Point2f;

cv::Mat smooth_noise(cv::RNG& rng, cv::Size size, double sigma_x, double sigma_y) {
  cv::Mat noise(size, CV_32F);
  rng.fill(noise, cv::RNG::NORMAL, 0, 1);
  cv::GaussianBlur(noise, noise, {0, 0}, sigma_x, sigma_y, cv::BORDER_REFLECT);
  cv::Scalar mean, deviation;
  cv::meanStdDev(noise, mean, deviation);
  return noise / (deviation[0] + 1e-6);
}

cv::Scalar random_colour(cv::RNG& rng, double low, double high) {
  const double level = rng.uniform(low, high), tint = 18;
  return {level + rng.uniform(-tint, tint), level + rng.uniform(-tint, tint),
          level + rng.uniform(-tint, tint)};
}

/// Uneven, tinted ground with a slope of light.
cv::Mat ground(cv::RNG& rng, cv::Size size) {
  cv::Mat image(size, CV_32FC3, random_colour(rng, 40, 170));
  const cv::Mat stains = smooth_noise(rng, size, 6, 6), grain = smooth_noise(rng, size, 0.8, 0.8);
  const double slope_x = rng.uniform(-30., 30.), slope_y = rng.uniform(-30., 30.);
  const double stain = rng.uniform(2., 16.), grit = rng.uniform(2., 10.);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const float light = float(slope_x * (double(x) / size.width - 0.5) +
                                slope_y * (double(y) / size.height - 0.5) +
                                stain * stains.at<float>(y, x) + grit * grain.at<float>(y, x));
      for (int c = 0; c < 3; ++c) image.at<cv::Vec3f>(y, x)[c] += light;
    }
  }
  return image;
}

/// A closed outline: radius as a function of the angle.
std::vector<cv::Point> outline(Point centre, double radius, double turn, double squeeze,
                               const std::function<double(double)>& shape) {
  std::vector<cv::Point> points;
  for (int i = 0; i < 180; ++i) {
    const double angle = i * CV_PI / 90, r = radius * shape(angle);
    const double x = r * std::cos(angle), y = r * std::sin(angle) * squeeze;
    points.emplace_back(cvRound(16 * (centre.x + x * std::cos(turn) - y * std::sin(turn))),
                        cvRound(16 * (centre.y + x * std::sin(turn) + y * std::cos(turn))));
  }
  return points;
}

std::function<double(double)> polygon(int sides) {
  return [sides](double angle) {
    const double sector = 2 * CV_PI / sides;
    const double local = std::fmod(angle, sector) - sector / 2;
    return std::cos(sector / 2) / std::cos(local);
  };
}

std::function<double(double)> gear(int teeth) {
  return [teeth](double angle) { return 0.9 + 0.1 * std::tanh(4 * std::sin(teeth * angle)); };
}

struct PartKind {
  std::function<double(double)> rim;
  double hole;        // of the radius; 0: none
  int marks;          // drilled beside the hole
  bool slot, broken;  // a slot across; a piece of the rim missing
};

const PartKind& part_kind(int label) {
  static const auto round = [](double) { return 1.0; };
  static const PartKind kinds[] = {
      {polygon(6), 0.5, 0, false, false}, {polygon(8), 0.5, 0, false, false},
      {round, 0.5, 0, false, false},      {round, 0.7, 0, false, false},
      {round, 0.5, 0, false, true},       {gear(12), 0.35, 0, false, false},
      {gear(16), 0.35, 0, false, false},  {round, 0, 3, false, false},
      {round, 0, 4, false, false},        {round, 0, 0, true, false}};
  return kinds[label];
}

void fill(cv::Mat& image, const std::vector<cv::Point>& points, const cv::Scalar& colour) {
  cv::fillPoly(image, std::vector<std::vector<cv::Point>>{points}, colour, cv::LINE_AA, 4);
}

cv::Mat finish(cv::RNG& rng, cv::Mat image, double noise_level) {
  cv::GaussianBlur(image, image, {0, 0}, rng.uniform(0.4, 1.1));
  cv::Mat noise(image.size(), CV_32FC3);
  rng.fill(noise, cv::RNG::NORMAL, 0, noise_level);
  image += noise;
  cv::Mat out;
  image.convertTo(out, CV_8UC3, rng.uniform(0.75, 1.2), rng.uniform(-15., 15.));
  return out;
}

cv::Mat draw_part(cv::RNG& rng, int label) {
  const PartKind& kind = part_kind(label);
  const int side = rng.uniform(40, 110);
  const cv::Size size(cvRound(side * rng.uniform(1.0, 1.25)),
                      cvRound(side * rng.uniform(1., 1.25)));
  cv::Mat image = ground(rng, size);
  cv::Mat under = image.clone();
  const double radius = side * rng.uniform(0.32, 0.44), turn = rng.uniform(0., 2 * CV_PI);
  const double squeeze = rng.uniform(0.82, 1.0);
  const Point centre(float(size.width * rng.uniform(0.45, 0.55)),
                     float(size.height * rng.uniform(0.45, 0.55)));
  const auto round = [](double) { return 1.0; };
  fill(image, outline(centre, radius, turn, squeeze, kind.rim), random_colour(rng, 70, 220));
  if (kind.hole > 0) {
    const auto hole = outline(centre, radius * kind.hole, turn, squeeze, round);
    cv::Mat mask(size, CV_8U, cv::Scalar(0));
    cv::fillPoly(mask, std::vector<std::vector<cv::Point>>{hole}, 255, cv::LINE_8, 4);
    under.copyTo(image, mask);
  }
  for (int i = 0; i < kind.marks; ++i) {
    const double angle = turn + i * 2 * CV_PI / kind.marks, r = radius * 0.55;
    fill(image,
         outline(centre + Point(float(r * std::cos(angle)), float(r * std::sin(angle) * squeeze)),
                 radius * 0.16, 0, 1, round),
         random_colour(rng, 10, 60));
  }
  if (kind.slot) {
    const Point along(float(radius * 0.9 * std::cos(turn)), float(radius * 0.9 * std::sin(turn)));
    cv::line(image, centre - along, centre + along, random_colour(rng, 10, 60),
             std::max(2, cvRound(radius * 0.18)), cv::LINE_AA);
  }
  if (kind.broken) {
    const double angle = rng.uniform(0., 2 * CV_PI);
    const auto bite =
        outline(centre + Point(float(radius * std::cos(angle)), float(radius * std::sin(angle))),
                radius * rng.uniform(0.25, 0.4), 0, 1, round);
    cv::Mat mask(size, CV_8U, cv::Scalar(0));
    cv::fillPoly(mask, std::vector<std::vector<cv::Point>>{bite}, 255, cv::LINE_8, 4);
    under.copyTo(image, mask);
  }
  return finish(rng, image, rng.uniform(2., 9.));
}

/// Kinds differ in grain size, direction, regularity and hue, with overlapping ranges.
cv::Mat draw_texture(cv::RNG& rng, int label) {
  const cv::Size size(rng.uniform(48, 97), rng.uniform(48, 97));
  const double turn = rng.uniform(-0.5, 0.5), scale = rng.uniform(0.85, 1.2);
  cv::Mat field;
  const double fine[] = {0.9, 1.8, 0.9, 3.0, 1.2, 1.2, 0, 0};
  const double along[] = {0.9, 1.8, 4.0, 3.0, 2.4, 1.2, 0, 0};
  if (label < 6) {
    field = smooth_noise(rng, size, along[label] * scale, fine[label] * scale);
    if (label == 5) field = cv::abs(field) * 1.6 - 1.2;  // ridges
  } else {
    field = cv::Mat(size, CV_32F);
    const cv::Mat wobble = smooth_noise(rng, size, 5, 5);
    const double period = (label == 6 ? 6 : 8) * scale;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        const double u = x * std::cos(turn) + y * std::sin(turn) + wobble.at<float>(y, x);
        const double v = y * std::cos(turn) - x * std::sin(turn) + wobble.at<float>(y, x);
        const double wave =
            label == 6 ? std::sin(2 * CV_PI * u / period)
                       : std::sin(2 * CV_PI * u / period) * std::sin(2 * CV_PI * v / period) * 1.5;
        field.at<float>(y, x) = float(wave);
      }
    }
  }
  const cv::Scalar base = random_colour(rng, 80, 170);
  const double contrast = rng.uniform(12., 35.), warm = rng.uniform(-10., 10.) + 5 * (label % 2);
  cv::Mat image(size, CV_32FC3);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const float value = float(contrast) * field.at<float>(y, x);
      image.at<cv::Vec3f>(y, x) = {float(base[0] - warm) + value, float(base[1]) + value,
                                   float(base[2] + warm) + value};
    }
  }
  return finish(rng, image, rng.uniform(3., 12.));
}

LabelledImages draw_set(const std::string& name, int categories, int per_category, unsigned seed,
                        cv::Mat (*draw)(cv::RNG&, int)) {
  LabelledImages set;
  set.name = name;
  set.categories = categories;
  cv::RNG rng(seed);
  for (int i = 0; i < per_category * categories; ++i) {
    set.images.push_back(draw(rng, i % categories));
    set.labels.push_back(i % categories);
  }
  return set;
}

}  // namespace

SplitImages draw_parts(int train_per_category, int test_per_category) {
  return {draw_set("parts", 10, train_per_category, 11, draw_part),
          draw_set("parts", 10, test_per_category, 12, draw_part)};
}

SplitImages draw_textures(int train_per_category, int test_per_category) {
  return {draw_set("textures", 8, train_per_category, 21, draw_texture),
          draw_set("textures", 8, test_per_category, 22, draw_texture)};
}

}  // namespace bench
