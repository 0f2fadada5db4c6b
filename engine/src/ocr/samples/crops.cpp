#include "ocr/samples/crops.h"

#include <algorithm>
#include <cmath>

#include "core/bilinear.h"
#include "ocr/samples/augmentation.h"
#include "ocr/samples/contrast.h"
#include "ocr/samples/smooth_field.h"

namespace telvar::ocr {
namespace {

/// Crop pixels are reading pixels. A raster has the crop in its middle, and around it what the
/// contrast of its edges is measured from.
constexpr int kMargin = kContrastReach;
constexpr int kRasterWidth = kCropWidth + 2 * kMargin;
constexpr int kRasterHeight = kCropHeight + 2 * kMargin;
constexpr float kPi = 3.14159265f;

/// Prepared pixels (x, y) = matrix * (raster pixels) + shift, and the way back.
struct Mapping {
  float a, b, c, d;  // to prepared pixels
  float shift_x, shift_y;
  void to_prepared(float x, float y, float& px, float& py) const {
    px = a * x + b * y + shift_x;
    py = c * x + d * y + shift_y;
  }
  void to_raster(float px, float py, float& x, float& y) const {
    const float det = a * d - b * c;
    px -= shift_x;
    py -= shift_y;
    x = (d * px - b * py) / det;
    y = (a * py - c * px) / det;
  }
};

/// The share of crops whose place is drawn without regard to labels: they show backgrounds that no
/// character is near to.
constexpr float kAnywhere = 0.15f;

/// Normalised contrast is varied by this deviation, in natural logarithms, within the limit: the
/// local deviation that it was divided by depends on what happens to stand around.
constexpr float kGainDeviation = 0.15f, kMaxGain = 0.4f;

/// A normal deviate that never exceeds `limit`: rare extremes would teach nothing that occurs.
float clamped_normal(core::Random& random, float deviation, float limit) {
  return std::clamp(random.normal() * deviation, -limit, limit);
}

/// Three crops of four have about the size and direction of the training images, with deviations of
/// 8 % and 2.5 degrees. The fourth reaches the limits that the reader is to stand: 0.7 to 1.4 of
/// the nominal size (e to the power of -0.36 and 0.36), turned by 15 degrees. Places lie up to 0.3
/// of a crop off its middle, so that characters are seen at its edges too.
Mapping draw_mapping(core::Random& random, float aspect, float x, float y) {
  const bool far = random.chance(0.25f);
  const float turn = (far ? random.uniform(-15, 15) : clamped_normal(random, 2.5f, 8)) * kPi / 180;
  const float shear = std::tan(clamped_normal(random, 3, 10) * kPi / 180);
  const float scale =
      std::exp(far ? random.uniform(-0.36f, 0.36f) : clamped_normal(random, 0.08f, 0.25f));
  const float stretch = std::exp(clamped_normal(random, 0.05f, 0.15f));
  // Characters to region-like axes, where a turn is a turn, and back.
  const float cosine = std::cos(turn), sine = std::sin(turn);
  const float unit = static_cast<float>(kPreparedCharacter) / kReadingCharacter / scale;
  Mapping mapping{};
  mapping.a = unit * stretch * cosine;
  mapping.b = unit * stretch * (-sine * aspect + shear * aspect * cosine);
  mapping.c = unit / stretch * sine / aspect;
  mapping.d = unit / stretch * (cosine + shear * sine);
  const float to_x = kRasterWidth / 2.0f + random.uniform(-0.3f, 0.3f) * kCropWidth;
  const float to_y = kRasterHeight / 2.0f + random.uniform(-0.3f, 0.3f) * kCropHeight;
  mapping.shift_x = x - (mapping.a * to_x + mapping.b * to_y);
  mapping.shift_y = y - (mapping.c * to_x + mapping.d * to_y);
  return mapping;
}

/// Values between pixels; edge pixels repeat.
float bilinear(const GrayPixels& source, float x, float y) {
  x = std::clamp(x, 0.0f, static_cast<float>(source.width - 1));
  y = std::clamp(y, 0.0f, static_cast<float>(source.height - 1));
  const core::BilinearTap tap = core::bilinear_tap(x, y, source.width, source.height);
  return tap(source.pixels.data()) * (1 / 255.0f);
}

/// One row or column of a sample, `step` apart, smoothed in place.
void smooth_line(std::uint8_t* line, int count, std::size_t step) {
  // A reading pixel covers one and a half prepared ones. Half a reading pixel in two places has a
  // variance of 0.14 square prepared pixels, and so has this kernel.
  constexpr float kSide = 0.07f;
  float before = line[0];
  for (int i = 0; i < count; ++i) {
    std::uint8_t& at = line[static_cast<std::size_t>(i) * step];
    const float here = at;
    const float after = i + 1 < count ? line[static_cast<std::size_t>(i + 1) * step] : here;
    at = static_cast<std::uint8_t>(here + kSide * (before + after - 2 * here) + 0.5f);
    before = here;
  }
}

GrayPixels smoothed(const PreparedSample& sample) {
  GrayPixels result{sample.width, sample.height, sample.pixels};
  const auto width = static_cast<std::size_t>(sample.width);
  for (int y = 0; y < sample.height; ++y) {
    smooth_line(result.pixels.data() + static_cast<std::size_t>(y) * width, sample.width, 1);
  }
  for (int x = 0; x < sample.width; ++x) {
    smooth_line(result.pixels.data() + x, sample.height, width);
  }
  return result;
}

/// Elastic displacement, in reading pixels (24 to a character). Knots 36 pixels apart displace
/// whole characters, by up to 1.2 pixels or so; in half of the crops, knots 7 pixels apart displace
/// parts of them, by half as much.
class Elastic {
 public:
  explicit Elastic(core::Random& random)
      : coarse_x_(kRasterWidth, kRasterHeight, 36, random),
        coarse_y_(kRasterWidth, kRasterHeight, 36, random),
        fine_x_(kRasterWidth, kRasterHeight, 7, random),
        fine_y_(kRasterWidth, kRasterHeight, 7, random),
        coarse_(random.uniform(0, 1.2f)),
        fine_(random.chance(0.5f) ? random.uniform(0, 0.6f) : 0) {}

  float x(float at_x, float at_y) const {
    return coarse_ * coarse_x_.at(at_x, at_y) + (fine_ > 0 ? fine_ * fine_x_.at(at_x, at_y) : 0);
  }
  float y(float at_x, float at_y) const {
    return coarse_ * coarse_y_.at(at_x, at_y) + (fine_ > 0 ? fine_ * fine_y_.at(at_x, at_y) : 0);
  }

 private:
  SmoothField coarse_x_, coarse_y_, fine_x_, fine_y_;
  float coarse_, fine_;
};

void render(const GrayPixels& source, const Mapping& mapping, const Elastic& elastic,
            core::Raster& out) {
  float* pixel = out.values.data();
  for (int y = 0; y < out.height; ++y) {
    const auto fy = static_cast<float>(y);
    for (int x = 0; x < out.width; ++x, ++pixel) {
      const auto fx = static_cast<float>(x);
      float px, py;
      mapping.to_prepared(fx + elastic.x(fx, fy), fy + elastic.y(fx, fy), px, py);
      *pixel = bilinear(source, px, py);
    }
  }
}

core::Raster without_margin(const core::Raster& raster, float gain) {
  core::Raster inner(kCropWidth, kCropHeight, 1);
  for (int y = 0; y < kCropHeight; ++y) {
    for (int x = 0; x < kCropWidth; ++x) {
      inner.at(0, y, x) = gain * raster.at(0, y + kMargin, x + kMargin);
    }
  }
  return inner;
}

/// Labels near the crop, in crop pixels.
std::vector<PreparedLabel> carried(const std::vector<PreparedLabel>& labels, const Mapping& mapping,
                                   const Elastic& elastic) {
  std::vector<PreparedLabel> result;
  for (PreparedLabel label : labels) {
    float x, y;
    mapping.to_raster(label.x, label.y, x, y);
    if (!(x >= 0 && y >= 0 && x < kRasterWidth && y < kRasterHeight)) continue;
    label.x = x - elastic.x(x, y) - kMargin;
    label.y = y - elastic.y(x, y) - kMargin;
    result.push_back(label);
  }
  return result;
}

/// Exemplars, which an earlier training has left, come up at most so often for each crop of a new
/// sample: enough that the old is not forgotten, and in less than half of the crops.
constexpr double kMostOfExemplars = 0.7;

/// Prepared pixels: of a character this near to the edge of an exemplar, the centre and with it the
/// label may lie beyond.
constexpr float kUnknownEdge = 0.5f * kPreparedCharacter;

/// The cells that lie on the edge of the sample or beyond.
std::vector<char> cells_on_edge(const PreparedSample& sample, const Mapping& mapping,
                                const Elastic& elastic) {
  std::vector<char> cells;
  for (int row = 0; row < kCellRows; ++row) {
    for (int column = 0; column < kCellColumns; ++column) {
      const float x = cell_centre(column) + kMargin, y = cell_centre(row) + kMargin;
      float px, py;
      mapping.to_prepared(x + elastic.x(x, y), y + elastic.y(x, y), px, py);
      cells.push_back(px < kUnknownEdge || py < kUnknownEdge ||
                      px > static_cast<float>(sample.width) - kUnknownEdge ||
                      py > static_cast<float>(sample.height) - kUnknownEdge);
    }
  }
  return cells;
}

}  // namespace

CropSource::CropSource(std::vector<const PreparedSample*> samples, float inverted)
    : samples_(std::move(samples)), inverted_(inverted) {
  std::vector<double> counts;
  for (const PreparedSample* sample : samples_) {
    smoothed_.push_back(smoothed(*sample));
    for (const PreparedLabel& label : sample->labels) {
      const auto category = static_cast<std::size_t>(label.category);
      if (category >= counts.size()) counts.resize(category + 1);
      counts[category] += 1;
    }
  }
  const auto weight_of = [&](const PreparedLabel& label) {
    return 1 / std::sqrt(counts[static_cast<std::size_t>(label.category)]);
  };
  double whole = 0, exemplars = 0;
  for (const PreparedSample* sample : samples_) {
    for (const PreparedLabel& label : sample->labels) {
      (sample->is_exemplar ? exemplars : whole) += weight_of(label);
    }
  }
  const double share = whole > 0 ? std::min(1.0, kMostOfExemplars * whole / exemplars) : 1;
  double sum = 0;
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    for (const PreparedLabel& label : samples_[i]->labels) {
      places_.push_back({i, label.x, label.y});
      cumulated_.push_back(sum += weight_of(label) * (samples_[i]->is_exemplar ? share : 1));
    }
  }
}

CropSource::Place CropSource::choose(core::Random& random) const {
  const double at = random.uniform() * cumulated_.back();
  const auto found = std::upper_bound(cumulated_.begin(), cumulated_.end() - 1, at);
  const Place& place = places_[static_cast<std::size_t>(found - cumulated_.begin())];
  if (!random.chance(kAnywhere)) return place;
  const auto index = static_cast<std::size_t>(random.below(static_cast<int>(samples_.size())));
  const float x = random.uniform(0, static_cast<float>(samples_[index]->width));
  return {index, x, random.uniform(0, static_cast<float>(samples_[index]->height))};
}

Crop CropSource::draw(core::Random& random) const {
  const Place place = choose(random);
  const PreparedSample& sample = *samples_[place.sample];
  const Mapping mapping = draw_mapping(random, sample.aspect, place.x, place.y);
  const Elastic elastic(random);
  core::Raster raster(kRasterWidth, kRasterHeight, 1);
  render(smoothed_[place.sample], mapping, elastic, raster);
  if (random.chance(inverted_)) {
    for (float& value : raster.values) value = 1 - value;
  }
  augment(raster, random);
  normalise_contrast(raster);
  Crop crop;
  crop.pixels = without_margin(raster, std::exp(clamped_normal(random, kGainDeviation, kMaxGain)));
  crop.labels = carried(sample.labels, mapping, elastic);
  crop.unlabelled = carried(sample.unlabelled, mapping, elastic);
  if (sample.is_exemplar) crop.unknown = cells_on_edge(sample, mapping, elastic);
  return crop;
}

}  // namespace telvar::ocr
