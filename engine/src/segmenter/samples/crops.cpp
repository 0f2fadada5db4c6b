#include "segmenter/samples/crops.h"

#include <algorithm>

#include "segmenter/network/context.h"
#include "segmenter/samples/augmentation.h"
#include "segmenter/samples/colours.h"
#include "segmenter/samples/fading.h"
#include "segmenter/samples/mixing.h"

namespace telvar::segmenter {
namespace {

constexpr float kLargestShift = 0.15f;  // of positions, in halves of the region

/// Things of a category that fewer than one in so many tiles show are faded, if they are thin:
/// where there are more, they show themselves how faint they may be. And the share of their crops.
constexpr std::size_t kRareShare = 3;
constexpr float kFadedShare = 0.5f;

/// Pixels of a category in a tile that crops are laid on: more would take memory and show nothing
/// that these, spread evenly, do not.
constexpr std::size_t kPlacesPerOccurrence = 4096;

/// Of the crops, those that lie on a pixel of a category: what is rare must be seen, and so must
/// what is nothing. And how far from their middle that pixel is at most, in sides: never at the
/// rim, where little of what surrounds it shows.
constexpr float kOnCategoryShare = 0.5f;
constexpr float kFarthestFromMiddle = 0.4f;

/// Of the crops of a source that mixes, those that get things of another laid over them.
constexpr float kLaidOverShare = 0.4f;

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

void sample_plane(const TrainingTile& tile, int channel, const std::vector<Position>& positions,
                  float* out) {
  const std::size_t base = tile.area() * channel;
  for (const Position& at : positions) {
    const int left = static_cast<int>(at.x), top = static_cast<int>(at.y);
    const int right = std::min(left + 1, tile.width - 1);
    const int bottom = std::min(top + 1, tile.height - 1);
    const float fx = at.x - left, fy = at.y - top;
    const auto value = [&](int row, int column) {
      return tile.value(base + std::size_t(row) * tile.width + column);
    };
    const float above = value(top, left) + fx * (value(top, right) - value(top, left));
    const float below = value(bottom, left) + fx * (value(bottom, right) - value(bottom, left));
    *out++ = above + fy * (below - above);
  }
}

/// Writes every `stride`-th value: a flag for each pixel.
void sample_labels(const TrainingTile& tile, const LabelPlane& plane,
                   const std::vector<Position>& positions, std::size_t stride, std::uint8_t* out) {
  for (const Position& at : positions) {
    const auto column = static_cast<std::size_t>(at.x + 0.5f);
    const auto row = static_cast<std::size_t>(at.y + 0.5f);
    *out = bit_at(plane.bits, row * tile.width + column) ? 1 : 0;
    out += stride;
  }
}

/// Shifted as a whole by chance: what is exact to a few hundredths is learned by heart.
void sample_positions(const TrainingTile& tile, const std::vector<Position>& positions,
                      core::Random& random, float* out) {
  const float shift_x = random.uniform(-kLargestShift, kLargestShift);
  const float shift_y = random.uniform(-kLargestShift, kLargestShift);
  for (const Position& at : positions) {
    out[0] = (2 * at.x + 1) / static_cast<float>(tile.width) - 1 + shift_x;
    out[positions.size()] = (2 * at.y + 1) / static_cast<float>(tile.height) - 1 + shift_y;
    ++out;
  }
}

void sample_context(const TrainingTile& tile, const ContextMap& map,
                    const std::vector<Position>& positions, float* out) {
  const PlaceInRegion& place = tile.origin.place;
  for (const Position& at : positions) {
    map.sample(place, static_cast<float>(place.x) + at.x, static_cast<float>(place.y) + at.y,
               positions.size(), out++);
  }
}

}  // namespace

int choose_crop_side(const std::vector<const TrainingTile*>& tiles) {
  int longest = 1;
  for (const TrainingTile* tile : tiles) longest = std::max({longest, tile->width, tile->height});
  return std::clamp((longest + 15) / 16 * 16, 32, kMaxCropSide);
}

CropSource::CropSource(std::vector<const TrainingTile*> tiles, int side, int categories,
                       const InputSpec& spec, const CropStyle& style)
    : tiles_(std::move(tiles)), side_(side), categories_(categories), spec_(spec), style_(style) {
  for (int c = 0; c < categories; ++c) {
    std::vector<Occurrence> occurrences;
    for (const TrainingTile* tile : tiles_) {
      if (const LabelPlane* plane = find_label(*tile, c)) {
        occurrences.push_back({tile, thinned_pixels(*tile, *plane)});
      }
    }
    if (style.fades && occurrences.size() * kRareShare < tiles_.size()) add_thin(occurrences, c);
    if (!occurrences.empty()) occurrences_.push_back(std::move(occurrences));
  }
}

void CropSource::add_thin(const std::vector<Occurrence>& occurrences, int category) {
  for (const Occurrence& one : occurrences) {
    const LabelPlane* plane = find_label(*one.tile, category);
    if (is_thin(*one.tile, *plane, one.pixels)) thin_.insert(plane);
  }
}

int CropSource::planes() const {
  return spec_.planes() + (style_.maps != nullptr ? categories_ : 0) +
         (style_.positions ? kPositionPlanes : 0);
}

CropSource::Place CropSource::choose_place(core::Random& random) const {
  Place place{};
  const auto side = static_cast<float>(side_);
  if (!occurrences_.empty() && random.chance(kOnCategoryShare)) {
    const auto& of_category = occurrences_[random.below(static_cast<int>(occurrences_.size()))];
    const Occurrence& chosen = of_category[random.below(static_cast<int>(of_category.size()))];
    const int pixel = chosen.pixels[random.below(static_cast<int>(chosen.pixels.size()))];
    const int column = pixel % chosen.tile->width, row = pixel / chosen.tile->width;
    place = {chosen.tile, static_cast<float>(column), static_cast<float>(row)};
    place.x += random.uniform(-kFarthestFromMiddle, kFarthestFromMiddle) * side;
    place.y += random.uniform(-kFarthestFromMiddle, kFarthestFromMiddle) * side;
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
  Crop crop = draw_single(random);
  if (style_.mixes && random.chance(kLaidOverShare)) lay_over(draw_single(random), crop);
  return crop;
}

Crop CropSource::draw_single(core::Random& random) const {
  const Place place = choose_place(random);
  const TrainingTile& tile = *place.tile;
  const auto positions = place_crop(tile, {place.x, place.y}, side_, style_.strength, random);
  Crop crop;
  sample_pixels(tile, positions, crop);
  sample_targets(tile, positions, random, crop);
  if (style_.mixes) vary_colours(crop.pixels, positions.size(), random);
  vary_light(crop.pixels, side_, spec_.deviation, style_.strength, random);
  sample_beside(tile, positions, random, crop);
  return crop;
}

void CropSource::sample_pixels(const TrainingTile& tile, const std::vector<Position>& positions,
                               Crop& crop) const {
  const std::size_t area = positions.size();
  crop.pixels.resize(area * spec_.source_channels());
  for (int c = 0; c < spec_.source_channels(); ++c) {
    float* plane = crop.pixels.data() + area * c;
    if (c < tile.channels) {
      sample_plane(tile, c, positions, plane);
    } else {
      std::copy(crop.pixels.data(), crop.pixels.data() + area, plane);
    }
  }
}

/// Fades what may be, in the crop's pixels.
void CropSource::sample_targets(const TrainingTile& tile, const std::vector<Position>& positions,
                                core::Random& random, Crop& crop) const {
  crop.targets.resize(positions.size() * categories_);
  crop.known.resize(categories_);
  for (int c = 0; c < categories_; ++c) crop.known[c] = tile.known >> c & 1;
  for (const LabelPlane& plane : tile.labels) {
    std::uint8_t* const targets = crop.targets.data() + plane.category;
    sample_labels(tile, plane, positions, categories_, targets);
    if (thin_.count(&plane) == 0 || !random.chance(kFadedShare)) continue;
    fade({targets, static_cast<std::size_t>(categories_), side_}, random, crop.pixels);
  }
}

void CropSource::sample_beside(const TrainingTile& tile, const std::vector<Position>& positions,
                               core::Random& random, Crop& crop) const {
  crop.beside.resize(positions.size() * (planes() - spec_.planes()));
  if (crop.beside.empty() || random.chance(style_.left_out)) return;
  if (style_.positions) sample_positions(tile, positions, random, crop.beside.data());
  if (style_.maps == nullptr) return;
  const ContextMap& map = map_of(tile, *style_.maps);
  if (!map.empty()) sample_context(tile, map, positions, crop.beside.data());
}

}  // namespace telvar::segmenter
