#include "segmenter/samples/input_measurement.h"

#include <algorithm>
#include <cmath>

namespace telvar::segmenter {
namespace {

double luma_at(const TrainingTile& tile, std::size_t pixel) {
  if (tile.channels == 1) return tile.value(pixel);
  return core::luma<double>(tile.value(pixel), tile.value(tile.area() + pixel),
                            tile.value(2 * tile.area() + pixel));
}

}  // namespace

InputSpec measure_input(const std::vector<const TrainingTile*>& tiles) {
  InputSpec spec;
  double sum = 0, squares = 0, count = 0;
  for (const TrainingTile* tile : tiles) {
    spec.colour = spec.colour || tile->channels == 3;
    for (std::size_t i = 0; i < tile->area(); ++i) {
      const double luma = luma_at(*tile, i);
      sum += luma;
      squares += luma * luma;
    }
    count += static_cast<double>(tile->area());
  }
  const double mean = sum / count;
  const double deviation = std::sqrt(std::max(0.0, squares / count - mean * mean));
  spec.mean = static_cast<float>(mean);
  spec.deviation = std::max(InputSpec::kMinDeviation, static_cast<float>(deviation));
  return spec;
}

}  // namespace telvar::segmenter
