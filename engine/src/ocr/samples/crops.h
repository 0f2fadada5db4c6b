#pragma once

// Draws the crops that the network learns from: pieces of prepared samples at reading scale,
// changed in the ways in which real images of one marking differ.

#include <cstdint>
#include <vector>

#include "core/random.h"
#include "core/raster.h"
#include "ocr/samples/preparation.h"

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
  /// Row by row, whether a cell without a label may be something else than background; empty: none.
  std::vector<char> unknown;
};

constexpr int kCellColumns = kCropWidth / kCellStride;
constexpr int kCellRows = kCropHeight / kCellStride;

/// Crop pixel at the centre of a cell.
constexpr float cell_centre(int index) {
  return static_cast<float>(index * kCellStride) + (kCellStride - 1) / 2.0f;
}

/// Gray pixels, row by row.
struct GrayPixels {
  int width, height;
  std::vector<std::uint8_t> pixels;
};

/// Chooses places so that rare categories come up more often than they occur, and now and then a
/// place without regard to labels. Keeps pointers to the samples, which must outlive it, and a
/// smoothed copy of their pixels.
class CropSource {
 public:
  /// `samples` must hold one label at least.
  /// `inverted`: the share of crops whose light and dark are exchanged.
  CropSource(std::vector<const PreparedSample*> samples, float inverted);

  /// Depends on `random` alone. Safe from several threads.
  Crop draw(core::Random& random) const;

 private:
  struct Place {
    std::size_t sample;
    float x, y;
  };
  Place choose(core::Random& random) const;

  std::vector<const PreparedSample*> samples_;
  std::vector<GrayPixels> smoothed_;  // of the samples: what crops are drawn from
  float inverted_;
  std::vector<Place> places_;
  std::vector<double> cumulated_;  // weights of the places
};

}  // namespace telvar::ocr
