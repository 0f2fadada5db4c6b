#include "segmenter/crops.h"

#include <algorithm>
#include <cmath>

namespace telvar::segmenter {
namespace {

/// Augmentation. Quarter turns are the exception, so that categories told apart by their direction
/// stay learnable.
constexpr float kLargestTurn = 0.3F;        // radians
constexpr float kLargestStretch = 0.2F;     // log scale
constexpr float kQuarterTurnShare = 0.25F;  // of the crops
constexpr float kLargestGain = 0.25F;       // of contrast
constexpr float kLargestOffset = 0.25F;     // of brightness, in deviations of the luma
constexpr float kLargestNoise = 0.2F;       // likewise

constexpr std::size_t kPlacesPerOccurrence = 4096;

std::vector<std::uint32_t> thinned_pixels(const TrainingTile& tile, const LabelPlane& plane) {
  std::vector<std::uint32_t> pixels;
  for (std::size_t i = 0; i < tile.area(); ++i) {
    if (bit_at(plane.bits, i)) pixels.push_back(static_cast<std::uint32_t>(i));
  }
  if (pixels.size() <= kPlacesPerOccurrence) return pixels;
  std::vector<std::uint32_t> thinned(kPlacesPerOccurrence);
  for (std::size_t i = 0; i < thinned.size(); ++i) {
    thinned[i] = pixels[i * pixels.size() / thinned.size()];
  }
  return thinned;
}

/// Keeps a crop of `side` inside 0..length where it fits, else centres it.
float held_inside(float centre, float side, float length) {
  const float half = side / 2;
  return std::clamp(centre, std::min(half, length / 2), std::max(length - half, length / 2));
}

/// Crop pixel to tile pixel: x = a u + b v + c and y = d u + e v + f.
struct CropTransform {
  float a, b, c, d, e, f;
};

CropTransform draw_transform(float x, float y, int side, core::Random& random) {
  float angle = random.uniform(-kLargestTurn, kLargestTurn);
  if (random.chance(kQuarterTurnShare)) angle += 1.5707963F;
  const float scale = std::exp(random.uniform(-kLargestStretch, kLargestStretch));
  const float flip_x = random.chance(0.5F) ? -scale : scale;
  const float flip_y = random.chance(0.5F) ? -scale : scale;
  CropTransform t{std::cos(angle) * flip_x, -std::sin(angle) * flip_y, 0,
                  std::sin(angle) * flip_x, std::cos(angle) * flip_y,  0};
  const float middle = (side - 1) / 2.0F;
  t.c = x - 0.5F - (t.a + t.b) * middle;
  t.f = y - 0.5F - (t.d + t.e) * middle;
  return t;
}

/// Calls `visit(index of the crop pixel, x, y)` with positions held inside the tile.
template <class Visit>
void for_each_pixel(const TrainingTile& tile, int side, const CropTransform& t,
                    const Visit& visit) {
  const auto right = static_cast<float>(tile.width - 1);
  const auto bottom = static_cast<float>(tile.height - 1);
  for (int v = 0; v < side; ++v) {
    for (int u = 0; u < side; ++u) {
      visit(std::size_t(v) * side + u, std::clamp(t.a * u + t.b * v + t.c, 0.0F, right),
            std::clamp(t.d * u + t.e * v + t.f, 0.0F, bottom));
    }
  }
}

void sample_plane(const TrainingTile& tile, int channel, int side, const CropTransform& t,
                  float* out) {
  const std::size_t base = tile.area() * channel;
  for_each_pixel(tile, side, t, [&](std::size_t i, float x, float y) {
    const int left = static_cast<int>(x), top = static_cast<int>(y);
    const int right = std::min(left + 1, tile.width - 1);
    const int bottom = std::min(top + 1, tile.height - 1);
    const float fx = x - left, fy = y - top;
    const auto at = [&](int row, int column) {
      return tile.value(base + std::size_t(row) * tile.width + column);
    };
    const float above = at(top, left) + fx * (at(top, right) - at(top, left));
    const float below = at(bottom, left) + fx * (at(bottom, right) - at(bottom, left));
    out[i] = above + fy * (below - above);
  });
}

/// Writes every `stride`-th value: a flag for each pixel.
void sample_labels(const TrainingTile& tile, const LabelPlane& plane, int side,
                   const CropTransform& t, std::size_t stride, std::uint8_t* out) {
  for_each_pixel(tile, side, t, [&](std::size_t i, float x, float y) {
    const auto column = static_cast<std::size_t>(x + 0.5F);
    const auto row = static_cast<std::size_t>(y + 0.5F);
    out[i * stride] = bit_at(plane.bits, row * tile.width + column) ? 1 : 0;
  });
}

/// Uniform noise of the same variance as the normal deviate it stands for, at a third of its cost.
float noise(core::Random& random) {
  return (random.uniform() - 0.5F) * 3.4641016F;
}

void vary_light(std::vector<float>& pixels, std::size_t area, float deviation,
                core::Random& random) {
  const float gain = 1 + random.uniform(-kLargestGain, kLargestGain);
  const float offset = random.uniform(-kLargestOffset, kLargestOffset) * deviation;
  const float strength = random.uniform(0, kLargestNoise) * deviation;
  double sum = 0;
  for (float value : pixels) sum += value;
  const auto mean = static_cast<float>(sum / static_cast<double>(pixels.size()));
  for (std::size_t i = 0; i < area; ++i) {
    const float added = mean + offset + strength * noise(random);
    for (std::size_t at = i; at < pixels.size(); at += area) {
      pixels[at] = (pixels[at] - mean) * gain + added;
    }
  }
}

}  // namespace

int choose_crop_side(const std::vector<const TrainingTile*>& tiles) {
  int longest = 1;
  for (const TrainingTile* tile : tiles) longest = std::max({longest, tile->width, tile->height});
  return std::clamp((longest + 15) / 16 * 16, 32, kMaxCropSide);
}

CropSource::CropSource(std::vector<const TrainingTile*> tiles, int side, int categories,
                       const InputSpec& spec)
    : tiles_(std::move(tiles)), side_(side), categories_(categories), spec_(spec) {
  for (int c = 0; c < categories; ++c) {
    std::vector<Occurrence> occurrences;
    for (const TrainingTile* tile : tiles_) {
      if (const LabelPlane* plane = find_label(*tile, c)) {
        occurrences.push_back({tile, thinned_pixels(*tile, *plane)});
      }
    }
    if (!occurrences.empty()) occurrences_.push_back(std::move(occurrences));
  }
}

CropSource::Place CropSource::choose_place(core::Random& random) const {
  Place place{};
  const auto side = static_cast<float>(side_);
  if (!occurrences_.empty() && random.chance(0.5F)) {
    const auto& of_category = occurrences_[random.below(static_cast<int>(occurrences_.size()))];
    const Occurrence& chosen = of_category[random.below(static_cast<int>(of_category.size()))];
    const int pixel = chosen.pixels[random.below(static_cast<int>(chosen.pixels.size()))];
    place = {chosen.tile, static_cast<float>(pixel % chosen.tile->width),
             static_cast<float>(pixel / chosen.tile->width)};
    place.x += random.uniform(-0.4F, 0.4F) * side;
    place.y += random.uniform(-0.4F, 0.4F) * side;
  } else {
    place.tile = tiles_[random.below(static_cast<int>(tiles_.size()))];
    place.x = random.uniform(0, static_cast<float>(place.tile->width));
    place.y = random.uniform(0, static_cast<float>(place.tile->height));
  }
  place.x = held_inside(place.x, side, static_cast<float>(place.tile->width));
  place.y = held_inside(place.y, side, static_cast<float>(place.tile->height));
  return place;
}

Crop CropSource::draw(core::Random& random) const {
  const Place place = choose_place(random);
  const TrainingTile& tile = *place.tile;
  const CropTransform transform = draw_transform(place.x, place.y, side_, random);
  const std::size_t area = std::size_t(side_) * side_;
  Crop crop;
  crop.pixels.resize(area * spec_.source_channels());
  for (int c = 0; c < spec_.source_channels(); ++c) {
    float* plane = crop.pixels.data() + area * c;
    if (c < tile.channels) {
      sample_plane(tile, c, side_, transform, plane);
    } else {
      std::copy(crop.pixels.data(), crop.pixels.data() + area, plane);
    }
  }
  vary_light(crop.pixels, area, spec_.deviation, random);
  crop.targets.resize(area * categories_);
  crop.known.resize(categories_);
  for (int c = 0; c < categories_; ++c) crop.known[c] = tile.known >> c & 1;
  for (const LabelPlane& plane : tile.labels) {
    sample_labels(tile, plane, side_, transform, categories_, crop.targets.data() + plane.category);
  }
  return crop;
}

}  // namespace telvar::segmenter
