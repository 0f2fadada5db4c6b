#pragma once

// How a training crop differs from the image that it was cut from: in place, turn and size, and in
// its light.

#include <cstddef>
#include <vector>

#include "core/random.h"

namespace telvar::segmenter {

/// Crop pixel (u, v) to tile pixel: x = a u + b v + c and y = d u + e v + f.
struct CropTransform {
  float a, b, c, d, e, f;
};

/// A crop of side x side around the tile pixel (x, y): turned, mirrored, stretched.
CropTransform draw_transform(float x, float y, int side, core::Random& random);

/// Changes contrast and brightness of all planes alike, and adds noise. `pixels`: planes of `area`
/// values; `deviation`: of the training images' luma.
void vary_light(std::vector<float>& pixels, std::size_t area, float deviation,
                core::Random& random);

/// Adds a wave of light to planes of side x side, so that how bright a thing is tells less than its
/// shape and texture.
void add_wave(std::vector<float>& pixels, int side, float deviation, core::Random& random);

}  // namespace telvar::segmenter
