#include "ocr/samples/augmentation.h"

#include <algorithm>
#include <cmath>

#include "ocr/samples/smooth_field.h"

namespace telvar::ocr {
namespace {

constexpr float kPi = 3.14159265f;

float deviation(const core::Raster& raster) {
  double sum = 0, square = 0;
  for (const float value : raster.values) {
    sum += value;
    square += double{value} * value;
  }
  const double count = static_cast<double>(raster.values.size());
  return static_cast<float>(std::sqrt(std::max(0.0, square / count - sum * sum / count / count)));
}

/// Every pixel from itself and its two neighbours along x, then along y; edge pixels repeat.
template <class Combine>
void combine_neighbours(core::Raster& raster, const Combine& combine) {
  core::Raster rows(raster.width, raster.height, 1);
  for (int y = 0; y < raster.height; ++y) {
    for (int x = 0; x < raster.width; ++x) {
      rows.at(0, y, x) = combine(raster.at(0, y, std::max(x - 1, 0)), raster.at(0, y, x),
                                 raster.at(0, y, std::min(x + 1, raster.width - 1)));
    }
  }
  for (int y = 0; y < raster.height; ++y) {
    for (int x = 0; x < raster.width; ++x) {
      raster.at(0, y, x) = combine(rows.at(0, std::max(y - 1, 0), x), rows.at(0, y, x),
                                   rows.at(0, std::min(y + 1, raster.height - 1), x));
    }
  }
}

void blur(core::Raster& raster, float side) {
  combine_neighbours(raster, [=](float a, float b, float c) { return b + side * (a + c - 2 * b); });
}

/// Dark or bright parts grow by up to 0.6 of a reading pixel on each side; strokes are about three
/// of them wide.
void change_stroke_width(core::Raster& raster, core::Random& random) {
  const float amount = random.uniform(0, 0.6f);
  if (random.chance(0.5f)) {
    combine_neighbours(raster, [=](float a, float b, float c) {
      return b + amount * (std::max({a, b, c}) - b);
    });
  } else {
    combine_neighbours(raster, [=](float a, float b, float c) {
      return b + amount * (std::min({a, b, c}) - b);
    });
  }
}

/// Fades a round spot towards the mean of its surroundings, as wear and dirt do. The radius, in
/// reading pixels, reaches from half a stroke to a quarter of a character.
void wear_spot(core::Raster& raster, core::Random& random) {
  const float x = random.uniform(0, static_cast<float>(raster.width));
  const float y = random.uniform(0, static_cast<float>(raster.height));
  const float radius = random.uniform(1.5f, 6), strength = random.uniform(0.3f, 1);
  const int reach = static_cast<int>(radius * 2);
  const int left = std::max(0, static_cast<int>(x) - reach);
  const int right = std::min(raster.width - 1, static_cast<int>(x) + reach);
  const int top = std::max(0, static_cast<int>(y) - reach);
  const int bottom = std::min(raster.height - 1, static_cast<int>(y) + reach);
  float mean = 0;
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) mean += raster.at(0, row, column);
  }
  mean /= static_cast<float>((right - left + 1) * (bottom - top + 1));
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) {
      const float distance =
          std::hypot(static_cast<float>(column) - x, static_cast<float>(row) - y);
      const float share = strength * std::clamp((radius - distance) / 2 + 0.5f, 0.0f, 1.0f);
      float& value = raster.at(0, row, column);
      value += share * (mean - value);
    }
  }
}

/// Multiplies one side of a straight or round edge, or a streak: a patch of another reflectance.
/// Lengths are reading pixels. A patch multiplies by 0.64 to 1.57, a streak, which looks like a
/// stroke, by 0.76 to 1.31.
class Patch {
 public:
  Patch(const core::Raster& raster, core::Random& random)
      : kind_(random.below(3)),
        x_(random.uniform(0, static_cast<float>(raster.width))),
        y_(random.uniform(0, static_cast<float>(raster.height))),
        size_(kind_ == kStreak ? random.uniform(0.5f, 4) : random.uniform(3, 60)),
        soft_(random.uniform(0.5f, 4)),
        gain_(std::exp(random.uniform(-0.45f, 0.45f) * (kind_ == kStreak ? 0.6f : 1.0f)) - 1) {
    const float angle = random.uniform(0, 2 * kPi);
    cosine_ = std::cos(angle);
    sine_ = std::sin(angle);
  }

  float factor(float x, float y) const {
    const float across = cosine_ * (x - x_) + sine_ * (y - y_);
    float depth = across;  // pixels inside the edge
    if (kind_ == kRound) depth = size_ - std::hypot(x - x_, y - y_);
    if (kind_ == kStreak) depth = size_ - std::abs(across);
    return 1 + gain_ * std::clamp(depth / soft_ + 0.5f, 0.0f, 1.0f);
  }

 private:
  static constexpr int kRound = 1;
  static constexpr int kStreak = 2;
  int kind_;
  float x_, y_, size_, soft_, gain_, cosine_ = 1, sine_ = 0;
};

template <class Change>
void each_pixel(core::Raster& raster, const Change& change) {
  for (int y = 0; y < raster.height; ++y) {
    for (int x = 0; x < raster.width; ++x) {
      change(raster.at(0, y, x), static_cast<float>(x), static_cast<float>(y));
    }
  }
}

void put_behind(core::Raster& raster, core::Random& random) {
  for (int count = 1 + random.below(3); count > 0; --count) {
    const Patch patch(raster, random);
    each_pixel(raster, [&](float& value, float x, float y) { value *= patch.factor(x, y); });
  }
}

/// Knots 48 reading pixels apart, two characters: light that changed faster would be a mark.
void light_unevenly(core::Raster& raster, core::Random& random) {
  const SmoothField light(raster.width, raster.height, 48, random);
  const float amount = random.uniform(0, 0.25f);
  each_pixel(raster, [&](float& value, float x, float y) { value *= 1 + amount * light.at(x, y); });
}

}  // namespace

void augment(core::Raster& raster, core::Random& random) {
  // Noise comes last, as a sensor adds it to whatever light there is. It is measured in the
  // raster's own deviation, so that marks of low contrast drown no more than others.
  if (random.chance(0.3f)) change_stroke_width(raster, random);
  if (random.chance(0.4f)) {
    for (int count = 2 + random.below(10); count > 0; --count) wear_spot(raster, random);
  }
  if (random.chance(0.5f)) put_behind(raster, random);
  if (random.chance(0.4f)) blur(raster, random.uniform(0.05f, 0.28f));
  if (random.chance(0.5f)) light_unevenly(raster, random);
  if (random.chance(0.5f)) {
    const float noise = random.uniform(0, 0.3f) * deviation(raster);
    for (float& value : raster.values) value += noise * random.normal();
  }
}

}  // namespace telvar::ocr
