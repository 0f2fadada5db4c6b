#pragma once

// Prepares images: the gray value that counts as white, and labelled regions at the scale that
// training draws its crops from.

#include <cstdint>
#include <string>
#include <vector>

#include "core/bytes.h"
#include "core/regions.h"
#include "ocr/reading_scale.h"

namespace telvar::ocr {

/// A labelled character: its centre in region pixels, and its category.
struct RegionLabel {
  std::string category;
  float x = 0;
  float y = 0;
};

/// A character of a prepared sample: centre in prepared pixels, category by index.
struct PreparedLabel {
  int category = 0;
  float x = 0;
  float y = 0;
};

/// Gray pixels 0..255, row by row, with what is known about them.
struct PreparedSample {
  std::string name = "an exemplar";  // what errors call it; not written
  int width = 0;
  int height = 0;
  /// Region pixels: nominal character height over width. Prepared pixels are square in units of
  /// the nominal character, so turning the image needs it.
  float aspect = 1;
  std::vector<std::uint8_t> pixels;
  std::vector<PreparedLabel> labels;  // in the window that is the whole sample
  /// Centres of what looks like characters without labels; they teach nothing.
  std::vector<PreparedLabel> unlabelled;
  /// Cut out of a larger sample: what lies on its edges and beyond is not known.
  bool is_exemplar = false;
};

/// The size in prepared pixels of a region. Throws invalid_image_size, naming `subject`, beyond
/// kMaxPreparedPixels.
struct PreparedExtent {
  int width, height;
  double scale_x, scale_y;  // prepared pixels per region pixel
};
PreparedExtent prepared_extent(const core::Region& region, const NominalSize& size,
                               const std::string& subject);

/// The value that counts as white, 0..1 of what the type can hold: 1 for 8 bits; the largest value
/// of a 16-bit image, since cameras of 10 or 12 bits fill the lower part of its range only.
/// Requires a checked image; passes over its pixels once.
float white_level(const types::ImageView& image);

/// Samples the region of a checked image; without labels.
PreparedSample prepare(const types::ImageView& image, const core::Region& region,
                       const NominalSize& size, const std::string& subject);

/// A rectangle of prepared pixels.
struct Window {
  int left, top, width, height;
  /// Half-open: pixel centres being at integers, from left - 0.5 to less than left + width - 0.5.
  bool contains(float x, float y) const;
};

/// The window around (x, y), moved and cut to lie within the sample.
Window window_around(const PreparedSample& sample, float x, float y, int width, int height);

/// That part of a sample, with the labels inside.
PreparedSample cut_out(const PreparedSample& sample, const Window& window);

void write_sample(core::ByteWriter& writer, const PreparedSample& sample);

/// Reads what write_sample wrote. Throws malformed_bytes; category indices lie below `categories`,
/// all places within the sample.
PreparedSample read_sample(core::ByteReader& reader, std::uint32_t categories);

}  // namespace telvar::ocr
