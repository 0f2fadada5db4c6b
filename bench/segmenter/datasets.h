#pragma once

// Seeded picture sets for measuring segmenters: every image and mask is generated, so that a run
// needs no download and two runs see the same pixels.

#include <cstdint>
#include <map>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace telvar::bench {

/// One picture (8 bit, 1 or 3 channels, BGR) and its masks (8 bit, 0 or 255) by category.
/// A category without a mask does not occur in the picture.
struct LabelledPicture {
  cv::Mat image;
  std::map<std::string, cv::Mat> masks;
};

struct PictureSet {
  std::string name;
  std::vector<std::string> categories;
  std::vector<LabelledPicture> train;
  std::vector<LabelledPicture> test;
};

/// Thin surface defects of three kinds (scratch, crack, pit) on grainy, cast, brushed and woven
/// surfaces, 384 x 288. Contrast is low and varies; a third of the pictures lack a kind.
PictureSet make_defects(int train, int test, std::uint64_t seed);

/// Patchworks of five textures of equal mean brightness, 320 x 320; one category each for four of
/// them, the fifth belongs to none.
PictureSet make_mosaics(int train, int test, std::uint64_t seed);

/// Bright discs among bright clutter (bars, squares, rings) on uneven ground, 384 x 288.
PictureSet make_discs(int train, int test, std::uint64_t seed);

/// Colour pictures, 320 x 256: translucent tinted stains and dark scratches that cross them, so
/// that categories overlap; gray blotches of the stains' brightness belong to neither.
PictureSet make_stains(int train, int test, std::uint64_t seed);

}  // namespace telvar::bench
