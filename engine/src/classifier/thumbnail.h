#pragma once

// A reduced image: all that training keeps of a sample's pixels, and what the train cache holds.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/raster.h"
#include "telvar/image.h"

namespace telvar::classifier {

/// Planar, 8 or 16 bits as the image was (16: little endian); 1 channel, or 3 (red, green, blue)
/// when the image shows colour.
struct Thumbnail {
  int width = 0, height = 0, channels = 0, bits = 8;
  std::string pixels;

  /// Values 0..1.
  core::Raster raster() const;
  /// The largest value, 0..1.
  float peak() const;
};

/// Shrinks a checked image until neither side exceeds `max_side`, with its aspect ratio; smaller
/// images stay as they are.
Thumbnail make_thumbnail(const types::ImageView& image, int max_side);

std::string encode(const Thumbnail& thumbnail);
/// Throws core::malformed_bytes.
Thumbnail decode(std::string_view bytes);

}  // namespace telvar::classifier
