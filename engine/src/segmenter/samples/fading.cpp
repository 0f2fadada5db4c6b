#include "segmenter/samples/fading.h"

#include <algorithm>
#include <cmath>

namespace telvar::segmenter {
namespace {

/// A thing is thin if so many tile pixels away from its pixels, to the four sides, there is
/// something else in this share of the places.
constexpr int kThinReach = 12;
constexpr double kThinShare = 0.75;

/// How far from a pixel the one lies that it is blended with, crop pixels.
constexpr float kNearest = 8.0f, kFarthest = 16.0f;

/// A thing keeps this share of its contrast at least, and in any case this contrast, in deviations
/// of what lies beside it: what nobody could see must not be learned.
constexpr double kLeastKept = 0.3, kVisible = 1.5;

bool belongs(const CropLabel& label, int x, int y) {
  return x >= 0 && y >= 0 && x < label.side && y < label.side &&
         label.flags[(std::size_t(y) * label.side + x) * label.stride] != 0;
}

/// Whether a pixel belongs or has a neighbour that does: a thing's light still shows on its rim.
bool touches(const CropLabel& label, int x, int y) {
  return belongs(label, x, y) || belongs(label, x - 1, y) || belongs(label, x + 1, y) ||
         belongs(label, x, y - 1) || belongs(label, x, y + 1);
}

/// A pixel of a thing and one beside it.
struct Pair {
  std::size_t here, there;
};

/// The pairs of a thing's pixels with those one step away, where that leads out of the thing.
std::vector<Pair> pairs_of(const CropLabel& label, int right, int down) {
  const int side = label.side;
  std::vector<Pair> pairs;
  for (int y = std::max(0, -down); y < side - std::max(0, down); ++y) {
    for (int x = std::max(0, -right); x < side - std::max(0, right); ++x) {
      if (!touches(label, x, y) || touches(label, x + right, y + down)) continue;
      pairs.push_back({std::size_t(y) * side + x, std::size_t(y + down) * side + x + right});
    }
  }
  return pairs;
}

/// The mean difference of the pairs, in deviations of what lies beside the thing.
double contrast_of(const std::vector<Pair>& pairs, const float* plane) {
  double difference = 0, sum = 0, squares = 0;
  for (const Pair& pair : pairs) {
    const double beside = plane[pair.there];
    difference += plane[pair.here] - beside;
    sum += beside;
    squares += beside * beside;
  }
  const auto count = static_cast<double>(pairs.size());
  const double variance = std::max(1e-6, squares / count - (sum / count) * (sum / count));
  return std::fabs(difference / count) / std::sqrt(variance);
}

}  // namespace

bool is_thin(const TrainingTile& tile, const LabelPlane& plane,
             const std::vector<std::uint32_t>& pixels) {
  constexpr int kSteps[][2] = {
      {kThinReach, 0}, {-kThinReach, 0}, {0, kThinReach}, {0, -kThinReach}};
  std::size_t inside = 0, free = 0;
  for (const std::uint32_t pixel : pixels) {
    for (const auto& [right, down] : kSteps) {
      const int x = static_cast<int>(pixel % tile.width) + right;
      const int y = static_cast<int>(pixel / tile.width) + down;
      if (x < 0 || y < 0 || x >= tile.width || y >= tile.height) continue;
      ++inside;
      if (!bit_at(plane.bits, std::size_t(y) * tile.width + x)) ++free;
    }
  }
  return inside > 0 && static_cast<double>(free) >= kThinShare * static_cast<double>(inside);
}

void fade(const CropLabel& label, core::Random& random, std::vector<float>& pixels) {
  const std::size_t area = std::size_t(label.side) * label.side;
  const float heading = random.uniform(0.0f, 6.2831853f);
  const float reach = random.uniform(kNearest, kFarthest);
  const auto pairs = pairs_of(label, static_cast<int>(std::lround(reach * std::cos(heading))),
                              static_cast<int>(std::lround(reach * std::sin(heading))));
  if (pairs.empty()) return;
  double contrast = 0;
  for (std::size_t plane = 0; plane < pixels.size(); plane += area) {
    contrast = std::max(contrast, contrast_of(pairs, pixels.data() + plane));
  }
  if (contrast <= kVisible) return;
  const auto least = static_cast<float>(std::max(kLeastKept, kVisible / contrast));
  const float kept = random.uniform(least, 1.0f);
  for (std::size_t plane = 0; plane < pixels.size(); plane += area) {
    for (const Pair& pair : pairs) {  // what lies beside is changed by none
      const float beside = pixels[plane + pair.there];
      float& here = pixels[plane + pair.here];
      here = beside + kept * (here - beside);
    }
  }
}

}  // namespace telvar::segmenter
