#pragma once

// Draws the crops that the network learns from: pieces of prepared samples at reading scale,
// changed in the ways in which real pictures of one marking differ.

#include <vector>

#include "core/random.h"
#include "core/raster.h"
#include "ocr/prepared_sample.h"

namespace telvar::ocr {

/// Size of a crop in reading pixels; multiples of kCellStride.
constexpr int kCropWidth = 144;
constexpr int kCropHeight = 56;

/// A piece of a sample, contrast normalised, with the characters in and around it; positions in
/// crop pixels.
struct Crop {
  core::Raster pixels;
  std::vector<PreparedLabel> labels;
  std::vector<PreparedLabel> unlabelled;
};

/// Chooses places so that rare categories come up more often than they occur, and now and then a
/// place without regard to labels. Keeps a reference to the samples.
class CropSource {
 public:
  /// `samples` must hold one label at least.
  explicit CropSource(std::vector<const PreparedSample*> samples);

  /// Depends on `random` alone. Safe from several threads.
  Crop draw(core::Random& random) const;

 private:
  struct Place {
    const PreparedSample* sample;
    float x, y;
  };
  Place choose(core::Random& random) const;

  std::vector<const PreparedSample*> samples_;
  std::vector<Place> places_;
  std::vector<double> cumulated_;  // weights of the places
};

}  // namespace telvar::ocr
