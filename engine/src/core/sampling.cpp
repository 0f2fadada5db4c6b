#include "core/sampling.h"

#include <algorithm>
#include <cmath>

#include "core/bilinear.h"
#include "core/pixels.h"

namespace telvar::core {
namespace {

// An output pixel is the mean of sub-samples. So many are taken along one of its sides at most; a
// region that is reduced further aliases. Along an axis, the limit lets the widest image there is
// (32768 pixels) be reduced to 8 without that.
constexpr int kMaxAxisSamples = 4096;
constexpr int kMaxPlaneSamples = 64;
// A turned region that reaches far beyond its image repeats the image's edge there, and could ask
// for any number of sub-samples of nothing new. So it gets so many for an output pixel, or so many
// for each image pixel within reach, whichever is more. A region within its image asks for fewer,
// unless it is sheared to a splinter.
constexpr double kGrantedSamples = 64, kGrantedPerImagePixel = 16;

/// How each output position of one axis mixes source positions first .. first + count - 1.
struct AxisTaps {
  struct Span {
    int first, count;
    std::size_t weights;
  };
  std::vector<Span> spans;
  std::vector<float> weights;
  int low = 0, high = 0;  // source positions used: low..high
};

int sub_samples(double step, int limit) {
  return static_cast<int>(std::clamp(std::ceil(std::abs(step) - 1e-6), 1.0, double(limit)));
}

/// Output o covers [o, o + 1) * extent / out of the region; region position r lies at
/// scale * r + offset of a source of `source` pixels.
AxisTaps make_taps(double scale, double offset, int extent, int out, int source) {
  const double step = static_cast<double>(extent) / out;
  const int samples = sub_samples(scale * step, kMaxAxisSamples);
  AxisTaps taps;
  taps.low = source;
  for (int o = 0; o < out; ++o) {
    const auto position = [&](int s) {
      const double r = (o + (s + 0.5) / samples) * step - 0.5;
      return std::clamp(scale * r + offset, 0.0, source - 1.0);
    };
    const double a = position(0), b = position(samples - 1);
    const int first = static_cast<int>(std::min(a, b));
    const int last = std::min(static_cast<int>(std::max(a, b)) + 1, source - 1);
    taps.spans.push_back({first, last - first + 1, taps.weights.size()});
    taps.weights.resize(taps.weights.size() + last - first + 1);
    float* weights = taps.weights.data() + taps.spans.back().weights;
    for (int s = 0; s < samples; ++s) {
      const double p = position(s);
      const int i = static_cast<int>(p);
      const float right = static_cast<float>(p - i);
      weights[i - first] += (1 - right) / samples;
      if (right > 0) weights[i - first + 1] += right / samples;
    }
    taps.low = std::min(taps.low, first);
    taps.high = std::max(taps.high, last);
  }
  return taps;
}

/// Reduces a row along x: `row` holds source positions taps.low .. taps.high.
void mix_row(const AxisTaps& taps, const float* row, float* out) {
  for (const AxisTaps::Span& span : taps.spans) {
    const float* values = row + (span.first - taps.low);
    const float* weights = taps.weights.data() + span.weights;
    float sum = 0;
    for (int i = 0; i < span.count; ++i) sum += weights[i] * values[i];
    *out++ = sum;
  }
}

/// Reduces along y: `rows` holds the reduced source rows taps.low .. taps.high, `width` values
/// each.
void mix_column(const AxisTaps& taps, const float* rows, int width, float* out) {
  for (const AxisTaps::Span& span : taps.spans) {
    for (int i = 0; i < span.count; ++i) {
      const float weight = taps.weights[span.weights + i];
      const float* row = rows + static_cast<std::size_t>(span.first - taps.low + i) * width;
      for (int x = 0; x < width; ++x) out[x] += weight * row[x];
    }
    out += width;
  }
}

/// `read_row(y, planes)` gives source columns x_taps.low .. x_taps.high of row y.
template <class ReadRow>
Raster mix(const AxisTaps& x_taps, const AxisTaps& y_taps, int channels, const ReadRow& read_row) {
  const int out_width = static_cast<int>(x_taps.spans.size());
  const int out_height = static_cast<int>(y_taps.spans.size());
  const int columns = x_taps.high - x_taps.low + 1;
  Raster line(columns, 1, channels);
  Raster rows(out_width, y_taps.high - y_taps.low + 1, channels);
  for (int y = 0; y < rows.height; ++y) {
    read_row(y_taps.low + y, line);
    for (int c = 0; c < channels; ++c) mix_row(x_taps, line.plane(c), &rows.at(c, y, 0));
  }
  Raster out(out_width, out_height, channels);
  for (int c = 0; c < channels; ++c) mix_column(y_taps, rows.plane(c), out_width, out.plane(c));
  return out;
}

Raster sample_along_axes(const types::ImageView& image, const Region& region, int out_width,
                         int out_height, Colour colour) {
  const auto& t = region.transform;
  const AxisTaps x_taps =
      make_taps(t.a, t.c, region.width, out_width, static_cast<int>(image.layout[0]));
  const AxisTaps y_taps =
      make_taps(t.e, t.f, region.height, out_height, static_cast<int>(image.layout[1]));
  return mix(x_taps, y_taps, channel_count(colour), [&](int y, Raster& line) {
    float* planes[3] = {};
    for (int c = 0; c < line.channels; ++c) planes[c] = line.plane(c);
    convert_row(image, y, x_taps.low, line.width, colour, planes);
  });
}

/// Adds `weight` times the bilinear value at (x, y) to out[c * out_step].
void add_bilinear(const Raster& source, double x, double y, float weight, float* out,
                  std::size_t out_step) {
  x = std::clamp(x, 0.0, source.width - 1.0);
  y = std::clamp(y, 0.0, source.height - 1.0);
  const BilinearTap tap = bilinear_tap(x, y, source.width, source.height);
  for (int c = 0; c < source.channels; ++c) out[c * out_step] += weight * tap(source.plane(c));
}

/// `samples_x` by `samples_y` bilinear samples a pixel, averaged.
Raster warp_mean(const Raster& source, const types::AffineTransform& t, int out_width,
                 int out_height, int samples_x, int samples_y) {
  Raster out(out_width, out_height, source.channels);
  const float weight = 1.0f / static_cast<float>(samples_x * samples_y);
  for (int y = 0; y < out_height; ++y) {
    for (int x = 0; x < out_width; ++x) {
      float* pixel = &out.at(0, y, x);
      for (int s = 0; s < samples_x * samples_y; ++s) {
        const int column = s % samples_x, row = s / samples_x;
        const double px = x + (column + 0.5) / samples_x - 0.5;
        const double py = y + (row + 0.5) / samples_y - 0.5;
        add_bilinear(source, t.a * px + t.b * py + t.c, t.d * px + t.e * py + t.f, weight, pixel,
                     out.plane_size());
      }
    }
  }
  return out;
}

/// The transform from output pixels to image pixels.
types::AffineTransform scaled(const Region& region, int out_width, int out_height) {
  const auto& t = region.transform;
  const double sx = static_cast<double>(region.width) / out_width;
  const double sy = static_cast<double>(region.height) / out_height;
  const double ox = 0.5 * sx - 0.5, oy = 0.5 * sy - 0.5;
  return {static_cast<float>(t.a * sx),
          static_cast<float>(t.b * sy),
          static_cast<float>(t.a * ox + t.b * oy + t.c),
          static_cast<float>(t.d * sx),
          static_cast<float>(t.e * sy),
          static_cast<float>(t.d * ox + t.e * oy + t.f)};
}

struct Box {
  int x, y, width, height;
};

/// The image pixels that bilinear samples of an output raster can touch.
Box touched_box(const types::AffineTransform& t, int out_width, int out_height, int width,
                int height) {
  double left = 1e30, right = -1e30, top = 1e30, bottom = -1e30;
  for (const double x : {-0.5, out_width - 0.5}) {
    for (const double y : {-0.5, out_height - 0.5}) {
      const double px = t.a * x + t.b * y + t.c, py = t.d * x + t.e * y + t.f;
      left = std::min(left, px), right = std::max(right, px);
      top = std::min(top, py), bottom = std::max(bottom, py);
    }
  }
  const auto low = [](double v, int n) {
    return static_cast<int>(std::clamp(std::floor(v) - 1, 0.0, n - 1.0));
  };
  const auto high = [](double v, int n) {
    return static_cast<int>(std::clamp(std::floor(v) + 2, 0.0, n - 1.0));
  };
  const int x = low(left, width), y = low(top, height);
  return {x, y, high(right, width) - x + 1, high(bottom, height) - y + 1};
}

struct SampleGrid {
  int x, y;
};

/// How many sub-samples a pixel takes along each side.
SampleGrid sample_grid(const types::AffineTransform& t, const Box& box, int out_width,
                       int out_height) {
  const SampleGrid wanted{sub_samples(std::hypot(t.a, t.d), kMaxPlaneSamples),
                          sub_samples(std::hypot(t.b, t.e), kMaxPlaneSamples)};
  const double share = double(box.width) * box.height / (double(out_width) * out_height);
  const double granted = std::max(kGrantedSamples, kGrantedPerImagePixel * share);
  const double excess = wanted.x * wanted.y / granted;
  if (excess <= 1) return wanted;
  return {std::max(1, static_cast<int>(wanted.x / std::sqrt(excess))),
          std::max(1, static_cast<int>(wanted.y / std::sqrt(excess)))};
}

template <class Inside>
Mask nearest(const types::AffineTransform& t, int out_width, int out_height, int width, int height,
             const Inside& inside) {
  Mask out(out_width, out_height);
  for (int y = 0; y < out_height; ++y) {
    for (int x = 0; x < out_width; ++x) {
      const double px = std::floor(double(t.a) * x + double(t.b) * y + t.c + 0.5);
      const double py = std::floor(double(t.d) * x + double(t.e) * y + t.f + 0.5);
      if (px < 0 || py < 0 || px >= width || py >= height) continue;
      out.at(y, x) = inside(static_cast<int>(px), static_cast<int>(py)) ? 1 : 0;
    }
  }
  return out;
}

}  // namespace

Raster sample(const types::ImageView& image, const Region& region, int out_width, int out_height,
              Colour colour) {
  const auto& r = region.transform;
  if (r.b == 0 && r.d == 0) {
    return sample_along_axes(image, region, out_width, out_height, colour);
  }
  types::AffineTransform t = scaled(region, out_width, out_height);
  const Box box = touched_box(t, out_width, out_height, static_cast<int>(image.layout[0]),
                              static_cast<int>(image.layout[1]));
  const Raster source = crop(image, box.x, box.y, box.width, box.height, colour);
  t.c -= static_cast<float>(box.x);
  t.f -= static_cast<float>(box.y);
  const SampleGrid grid = sample_grid(t, box, out_width, out_height);
  return warp_mean(source, t, out_width, out_height, grid.x, grid.y);
}

Raster sample(const types::ImageView& image, const Region& region, Colour colour) {
  return sample(image, region, region.width, region.height, colour);
}

Mask sample_mask(const types::ImageView& image, const Region& region, int out_width,
                 int out_height) {
  const auto [width, height, stride, channels, bits, order] = image.layout;
  const unsigned char* pixels = image.pixels;
  const std::size_t channel_bytes = bits / 8, pixel_bytes = channels * channel_bytes,
                    used_bytes = channels == 4 ? 3 * channel_bytes : pixel_bytes;
  return nearest(
      scaled(region, out_width, out_height), out_width, out_height, static_cast<int>(width),
      static_cast<int>(height), [&, row_bytes = std::size_t{stride}](int x, int y) {
        const unsigned char* pixel = pixels + y * row_bytes + x * pixel_bytes;
        return std::any_of(pixel, pixel + used_bytes, [](unsigned char byte) { return byte != 0; });
      });
}

Raster warp(const Raster& source, const types::AffineTransform& to_source, int out_width,
            int out_height) {
  return warp_mean(source, to_source, out_width, out_height, 1, 1);
}

Mask warp(const Mask& source, const types::AffineTransform& to_source, int out_width,
          int out_height) {
  return nearest(to_source, out_width, out_height, source.width, source.height,
                 [&](int x, int y) { return source.at(y, x) != 0; });
}

Raster to_gray(const Raster& source) {
  if (source.channels == 1) return source;
  Raster gray(source.width, source.height, 1);
  for (std::size_t i = 0; i < gray.values.size(); ++i) {
    gray.values[i] = luma(source.plane(0)[i], source.plane(1)[i], source.plane(2)[i]);
  }
  return gray;
}

Raster resize(const Raster& source, int out_width, int out_height) {
  const AxisTaps x_taps = make_taps(1, 0, source.width, out_width, source.width);
  const AxisTaps y_taps = make_taps(1, 0, source.height, out_height, source.height);
  return mix(x_taps, y_taps, source.channels, [&](int y, Raster& line) {
    for (int c = 0; c < source.channels; ++c) {
      const float* row = source.plane(c) + static_cast<std::size_t>(y) * source.width + x_taps.low;
      std::copy_n(row, line.width, line.plane(c));
    }
  });
}

}  // namespace telvar::core
