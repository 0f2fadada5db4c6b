#pragma once

// Checks of what a host hands over, before any work: image layouts and regions.
//
//   check_image(view, "image 'plate-7'", limits);
//   Region region = resolve_region(view, transform, size, "image 'plate-7'", limits);

#include <cstdint>
#include <string>

#include "telvar/image.h"

namespace telvar::core {

/// What a tool accepts; sides in pixels, for images and for regions alike.
struct ImageLimits {
  unsigned min_side = 1;
  unsigned max_side = 32768;
  std::uint64_t max_pixels = std::uint64_t{1} << 28;
};

/// A checked region: `transform` maps region pixels to image pixels (centres at integers).
struct Region {
  types::AffineTransform transform{1, 0, 0, 0, 1, 0};
  int width = 0;
  int height = 0;
};

/// Throws invalid_image (layout contradicts itself, no pixels) or invalid_image_size (empty, too
/// small, too large); the text starts with `subject` and names value and limit.
void check_image(const types::ImageView& image, const std::string& subject,
                 const ImageLimits& limits = {});

/// The same for an image that owns its pixels, whose layout anybody may have changed: invalid_image
/// also when it has fewer bytes than row stride x height.
void check_image(const types::Image& image, const std::string& subject,
                 const ImageLimits& limits = {});

/// The region of a checked image; size (0, 0) with the identity is the whole image.
/// Throws invalid_roi, naming the values: not finite, singular (a pixel covers less than 1e-6 image
/// pixels), an extent of zero or beyond the limits, wholly outside, |a|, |b|, |d| or |e| above 1e6,
/// a corner farther than 2^31 px.
Region resolve_region(const types::ImageView& image, const types::AffineTransform& transform,
                      const types::Size2<unsigned>& size, const std::string& subject,
                      const ImageLimits& limits = {});

/// The whole of a checked image.
Region whole_image(const types::ImageView& image);

/// The rectangle at (x, y) of a region, in region pixels.
Region part_of(const Region& region, int x, int y, int width, int height);

/// True when the image carries colour channels (3 or 4).
bool has_colour(const types::ImageView& image);

}  // namespace telvar::core
