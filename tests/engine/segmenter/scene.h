#pragma once

// Small generated scenes: bright squares and dark discs on a noisy ground, with masks.

#include <map>
#include <string>
#include <vector>

#include "telvar/segmenter.h"
#include "telvar_msg/segmentation.pb.h"

namespace telvar::segmenter_test {

namespace seg = qv::segmenter;

constexpr int kSide = 48;

/// Images and masks by identifier, and the data set that refers to them.
struct Scenes {
  telvar_msg::qv::segmentation::Dataset dataset;
  std::map<std::string, types::Image> images, masks;

  types::ImageLoader loader() const;
  types::ImageLoader mask_loader() const;
  std::string message() const { return dataset.SerializeAsString(); }
};

/// What the scenes look like beside their places.
struct Look {
  int channels = 1;
  int bits = 8;
  bool noise = true;
  bool hues = false;  // discs "red" and "green" that only their hue gives away
};

types::Image gray_image(int width, int height, const std::vector<unsigned char>& pixels);

/// `count` scenes labelled for `categories`, of "square" and "disc", or of their hues.
Scenes make_scenes(int count, std::uint64_t seed, const std::vector<std::string>& categories,
                   const Look& look = {});

/// Scenes of two categories as regions of wider images, turned and shifted. Around the regions they
/// repeat with the categories exchanged: what is taken from a wrong place teaches the contrary.
Scenes in_turned_regions(const Scenes& scenes);

/// Intersection over union of what a model finds, at 128, over scenes, by category.
std::map<std::string, double> measure(const std::string& artifact, const Scenes& scenes);

/// Trains without a cache of one's own.
std::tuple<float, std::string> train(const Scenes& scenes, const std::string& artifact = "");

}  // namespace telvar::segmenter_test
