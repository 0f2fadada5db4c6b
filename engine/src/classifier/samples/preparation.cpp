#include "classifier/samples/preparation.h"

#include <algorithm>
#include <cmath>

#include "classifier/limits.h"
#include "core/sampling.h"

namespace telvar::classifier {
namespace {

// Canvas pixels. Images smaller than this are enlarged: the network halves its input several times.
constexpr double kSmallestLongSide = 28;
// A canvas is no narrower than this; longer images are letterboxed.
constexpr double kMaxAspect = 4;
// An image that fills all of the canvas but this share of a side is stretched to fill it: a border
// of repeated pixels would say more about the extent of images than about what they show.
constexpr double kStretchTolerance = 0.15;
// Natural logarithm of the aspect ratio. A median extent this near to a square gets a square
// canvas, on which quarter turns are possible.
constexpr double kNearlySquare = 0.12;
// As a share of white. Training images that are all but blank must not make the network see the
// amplified noise of all others.
constexpr float kSmallestDeviation = 0.02f;

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

int multiple_of_four(double value) {
  return 4 * static_cast<int>(std::lround(value / 4));
}

/// The extent that an image of this size takes on the canvas.
int fitted(int side, double scale, int canvas_side) {
  const double length = side * scale;
  if (length > canvas_side * (1 - kStretchTolerance)) return canvas_side;
  return std::clamp(static_cast<int>(std::lround(length)), 1, canvas_side);
}

}  // namespace

int thumbnail_side_for(int samples) {
  return samples <= 8000 ? kMaxCanvasSide : 64;
}

Canvas choose_canvas(const std::vector<Thumbnail>& thumbnails) {
  Canvas canvas;
  canvas.thumbnail_side = thumbnail_side_for(static_cast<int>(thumbnails.size()));
  std::vector<double> longest, aspects;
  bool all_deep = true;
  float peak = 0;
  for (const Thumbnail& t : thumbnails) {
    longest.push_back(std::max(t.width, t.height));
    aspects.push_back(std::log(static_cast<double>(t.width) / t.height));
    if (t.channels == 3) canvas.channels = 3;
    if (t.bits == 8) all_deep = false;
    if (all_deep) peak = std::max(peak, t.peak());
  }
  if (all_deep && peak > 0) canvas.white = peak;
  const double side =
      std::clamp(median(longest), kSmallestLongSide, static_cast<double>(canvas.thumbnail_side));
  double aspect = std::clamp(std::exp(median(aspects)), 1 / kMaxAspect, kMaxAspect);
  if (std::abs(std::log(aspect)) < kNearlySquare) aspect = 1;
  canvas.width = std::max(kMinCanvasSide, multiple_of_four(side * std::min(1.0, aspect)));
  canvas.height = std::max(kMinCanvasSide, multiple_of_four(side * std::min(1.0, 1 / aspect)));
  return canvas;
}

void measure_levels(Canvas& canvas, const std::vector<Sample>& samples) {
  for (int c = 0; c < canvas.channels; ++c) {
    double sum = 0, squares = 0;
    for (const Sample& sample : samples) {
      const std::uint8_t* plane = sample.data() + canvas.plane_size() * c;
      for (std::size_t i = 0; i < canvas.plane_size(); ++i) {
        sum += plane[i];
        squares += static_cast<double>(plane[i]) * plane[i];
      }
    }
    const double count = static_cast<double>(canvas.plane_size()) * samples.size();
    const double mean = sum / count;
    canvas.mean[c] = static_cast<float>(mean / 255);
    const double variance = std::max(0.0, squares / count - mean * mean);
    canvas.deviation[c] =
        std::max(kSmallestDeviation, static_cast<float>(std::sqrt(variance) / 255));
  }
}

Sample letterbox(const Thumbnail& thumbnail, const Canvas& canvas) {
  const double scale = std::min(static_cast<double>(canvas.width) / thumbnail.width,
                                static_cast<double>(canvas.height) / thumbnail.height);
  const int width = fitted(thumbnail.width, scale, canvas.width);
  const int height = fitted(thumbnail.height, scale, canvas.height);
  const core::Raster pixels =
      canvas.channels == 1 ? core::to_gray(thumbnail.raster()) : thumbnail.raster();
  const core::Raster scaled = core::resize(pixels, width, height);
  const int left = (canvas.width - width) / 2, top = (canvas.height - height) / 2;
  Sample sample(canvas.sample_size());
  const float gain = thumbnail.bits == 16 ? 255 / canvas.white : 255;
  for (int c = 0; c < canvas.channels; ++c) {
    const int from = pixels.channels == canvas.channels ? c : 0;
    for (int y = 0; y < canvas.height; ++y) {
      const int sy = std::clamp(y - top, 0, height - 1);
      std::uint8_t* row = sample.data() + canvas.plane_size() * c + std::size_t(y) * canvas.width;
      for (int x = 0; x < canvas.width; ++x) {
        const float value = scaled.at(from, sy, std::clamp(x - left, 0, width - 1)) * gain;
        row[x] = static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 255.0f)));
      }
    }
  }
  return sample;
}

void write_canvas(core::ByteWriter& writer, const Canvas& canvas) {
  for (const int value : {canvas.width, canvas.height, canvas.channels, canvas.thumbnail_side}) {
    writer.u32(static_cast<std::uint32_t>(value));
  }
  writer.f32(canvas.white);
  writer.floats(canvas.mean, 3);
  writer.floats(canvas.deviation, 3);
}

Canvas read_canvas(core::ByteReader& reader) {
  Canvas canvas;
  canvas.width = static_cast<int>(reader.count("canvas width", kMinCanvasSide, kMaxCanvasSide));
  canvas.height = static_cast<int>(reader.count("canvas height", kMinCanvasSide, kMaxCanvasSide));
  canvas.channels = static_cast<int>(reader.count("channels", 1, 3));
  canvas.thumbnail_side =
      static_cast<int>(reader.count("thumbnail side", kMinCanvasSide, kMaxCanvasSide));
  canvas.white = reader.f32("white");
  reader.floats("mean", canvas.mean, 3);
  reader.floats("deviation", canvas.deviation, 3);
  if (canvas.width % 4 != 0 || canvas.height % 4 != 0) {
    throw core::malformed_bytes("canvas of " + std::to_string(canvas.width) + " x " +
                                std::to_string(canvas.height) + ": sides must be multiples of 4");
  }
  if (canvas.channels == 2)
    throw core::malformed_bytes("canvas of 2 channels: 1 or 3 are possible");
  for (const float value :
       {canvas.white, canvas.deviation[0], canvas.deviation[1], canvas.deviation[2]}) {
    if (!(value > 0)) throw core::malformed_bytes("canvas: white or a deviation is not positive");
  }
  return canvas;
}

}  // namespace telvar::classifier
