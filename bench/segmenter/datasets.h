#pragma once

// Seeded image sets for measuring segmenters: every image and mask is generated, so that a run
// needs no download and two runs see the same pixels.

#include <cstdint>
#include <map>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace telvar::bench {

/// An image (8 bit, 1 or 3 channels, BGR) and its masks (8 bit, 0 or 255) by category.
/// A category without a mask does not occur in the image.
struct LabelledImage {
  cv::Mat image;
  std::map<std::string, cv::Mat> masks;
};

struct ImageSet {
  std::string name;
  std::vector<std::string> categories;
  std::vector<LabelledImage> train;
  std::vector<LabelledImage> test;
};

/// Thin surface defects of three kinds (scratch, crack, pit) on grainy, cast, brushed and woven
/// surfaces, 384 x 288. Contrast is low and varies; a third of the images lack a kind.
ImageSet make_defects(int train, int test, std::uint64_t seed);

/// Patchworks of five textures of equal mean brightness, 320 x 320; one category each for four of
/// them, the fifth belongs to none.
ImageSet make_mosaics(int train, int test, std::uint64_t seed);

/// Bright discs among bright clutter (bars, squares, rings) on uneven ground, 384 x 288.
ImageSet make_discs(int train, int test, std::uint64_t seed);

/// Colour images, 320 x 256: translucent tinted stains and dark scratches that cross them, so
/// that categories overlap; gray blotches of the stains' brightness belong to neither.
ImageSet make_stains(int train, int test, std::uint64_t seed);

}  // namespace telvar::bench
