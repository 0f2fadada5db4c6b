#pragma once

// The common frame that every sample is placed on: chosen from the training images once, then part
// of the artifact.

#include <cstdint>
#include <vector>

#include "classifier/samples/thumbnail.h"
#include "core/bytes.h"

namespace telvar::classifier {

struct Canvas {
  int width = 28, height = 28;         // px
  int channels = 1;                    // 1 gray, 3 colour
  int thumbnail_side = 96;             // px; images are reduced to it first
  float white = 1;                     // of 16-bit images: value that becomes 255
  float mean[3] = {0.5f, 0.5f, 0.5f};  // of the training samples, 0..1
  float deviation[3] = {0.25f, 0.25f, 0.25f};

  std::size_t plane_size() const { return static_cast<std::size_t>(width) * height; }
  std::size_t sample_size() const { return plane_size() * channels; }
};

/// One placed sample: planar 8-bit values, channels x height x width.
using Sample = std::vector<std::uint8_t>;

/// The longest side, in px, that thumbnails of so many samples may have; bounds memory.
int thumbnail_side_for(int samples);

/// Size, colour and white from the images: the median extent, colour when any image shows it.
Canvas choose_canvas(const std::vector<Thumbnail>& thumbnails);

/// Sets mean and deviation.
void measure_levels(Canvas& canvas, const std::vector<Sample>& samples);

/// Scales with its aspect ratio to fit, centres, and repeats the edge pixels around it; images of
/// nearly the canvas' aspect ratio fill it. Colour on a gray canvas turns to luma.
Sample letterbox(const Thumbnail& thumbnail, const Canvas& canvas);

void write_canvas(core::ByteWriter& writer, const Canvas& canvas);
/// Throws core::malformed_bytes.
Canvas read_canvas(core::ByteReader& reader);

}  // namespace telvar::classifier
