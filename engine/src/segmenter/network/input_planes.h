#pragma once

// What the network sees of an image: brightness at several scales, and hues where training had any.

#include <vector>

#include "core/raster.h"

namespace telvar::segmenter {

/// How inputs are made; learned from the training images and kept in the artifact.
struct InputSpec {
  /// Floor of `deviation`: a training set of uniform images must not blow noise up without limit.
  static constexpr float kMinDeviation = 1.0f / 1024;

  bool colour = false;
  float mean = 0.5f;       // of the training images' luma, 0..1
  float deviation = 0.2f;  // likewise; kMinDeviation..1
  bool mirrored = false;   // predictions are the mean over an image and its mirror images

  core::Colour source() const { return colour ? core::Colour::kRgb : core::Colour::kGray; }
  int source_channels() const { return core::channel_count(source()); }
  /// Planes that the network takes: 4, or 6 with colour.
  int planes() const { return colour ? 6 : 4; }
};

/// Fills `out` (spec.planes() x height x width) from `pixels` (source_channels() x height x width,
/// 0..1). Planes: standardised luma; luma less its blur of 1 px, doubled; that blur less a blur of
/// 4 px; luma less the latter in units of its local deviation (12 px), so that faint marks on
/// smooth ground count like strong ones on rough ground; with colour also blue - green and red -
/// green over the luma's deviation.
void fill_input_planes(const InputSpec& spec, const float* pixels, int width, int height,
                       float* out);

/// Repeats the last column and row of each plane up to a larger size.
std::vector<float> padded(const float* planes, int count, int width, int height, int to_width,
                          int to_height);

}  // namespace telvar::segmenter
