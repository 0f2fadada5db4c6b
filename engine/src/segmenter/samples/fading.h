#pragma once

// Makes thin things fainter than they were seen: the next crack may show less than those labelled.

#include <cstdint>
#include <vector>

#include "core/random.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// Whether pixels of a label have what is not labelled around them nearly everywhere, so that it
/// tells what a place would look like without them. `pixels`: of the plane, all or evenly thinned.
bool is_thin(const TrainingTile& tile, const LabelPlane& plane,
             const std::vector<std::uint32_t>& pixels);

/// Which pixels of a crop belong to a category: a flag each, `stride` apart.
struct CropLabel {
  const std::uint8_t* flags;
  std::size_t stride;
  int side;
};

/// Blends what belongs to a thin thing, and a rim of a pixel, with what lies a few pixels beside
/// it, as long as it remains visible. `pixels`: planes of side x side.
void fade(const CropLabel& label, core::Random& random, std::vector<float>& pixels);

}  // namespace telvar::segmenter
