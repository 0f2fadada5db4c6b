#pragma once

// What the generated sets are drawn with: places that keep clear of each other, outlines, masks,
// and the noise and blur that end an image.

#include "datasets.h"

namespace telvar::bench {

/// Where a shape lies: it must not touch others.
struct Site {
  cv::Point2d centre;
  double radius;
};

/// A place for a circle of `radius` inside `size` that keeps `gap` from the others; none after many
/// attempts.
bool find_site(cv::Size size, double radius, double gap, std::vector<Site>& sites, cv::RNG& random);

/// A mask of nothing.
cv::Mat blank(cv::Size size);

/// A closed, wavy outline around a place.
std::vector<cv::Point> wavy_outline(cv::Point2d centre, double radius_x, double radius_y,
                                    double turn, double waves, cv::RNG& random);

void fill(cv::Mat& image, const std::vector<cv::Point>& outline, double value);

/// Adds to what the image's mask of a category has.
void add_mask(LabelledImage& image, const std::string& category, const cv::Mat& mask);

/// Ground, blurred by the optics, with noise, as bytes.
cv::Mat finished(cv::Mat values, double noise_strength, cv::RNG& random);

/// A ground of `brightness` with grain and uneven light.
cv::Mat uneven_ground(cv::Size size, double brightness, cv::RNG& random);

/// A set of images drawn one after the other.
ImageSet make_set(const std::string& name, const std::vector<std::string>& categories,
                  LabelledImage (*draw)(cv::RNG&), int train, int test, std::uint64_t seed);

}  // namespace telvar::bench
