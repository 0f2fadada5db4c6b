#pragma once

#include <cstdint>
#include <vector>

namespace telvar::segmenter {

/// One crop, drawn: pixels as fill_input_planes takes them, and for every category whether a pixel
/// belongs (0 or 1) and whether that is known at all (0 or 1 for the whole crop).
struct Crop {
  std::vector<float> pixels;          // source channels x side x side
  std::vector<float> beside;          // what the network sees beside them: planes x side x side
  std::vector<std::uint8_t> targets;  // side x side x categories
  std::vector<std::uint8_t> known;    // categories
};

}  // namespace telvar::segmenter
