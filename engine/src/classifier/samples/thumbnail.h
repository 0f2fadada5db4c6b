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

/// The extent of a thumbnail: shrunk until neither side exceeds `max_side`, with the image's aspect
/// ratio; smaller images stay as they are.
types::Size2<int> thumbnail_extent(const types::ImageView& image, int max_side);

/// Shrinks a checked image.
Thumbnail make_thumbnail(const types::ImageView& image, int max_side);

std::string encode(const Thumbnail& thumbnail);
/// Throws core::malformed_bytes, also for a thumbnail of another extent or depth than `image` has.
Thumbnail decode(std::string_view bytes, const types::ImageView& image, int max_side);

}  // namespace telvar::classifier
