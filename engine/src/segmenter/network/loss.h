#pragma once

// What a step of training makes smaller.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace telvar::segmenter {

/// What the crops of a chunk show: a flag for each pixel and category (channels innermost) whether
/// the pixel belongs to it, and one for each crop and category whether that is known at all.
struct ChunkTargets {
  int crops = 0;
  std::size_t pixels = 0;  // of a crop
  int categories = 0;
  std::vector<std::uint8_t> belongs;  // crops x pixels x categories
  std::vector<std::uint8_t> known;    // crops x categories
};

/// Returns the loss and fills its gradient. `logits` and `gradient`: crops x pixels x categories.
using Loss = double (*)(const float* logits, const ChunkTargets& targets, float* gradient);

/// Mean binary cross-entropy over known labels, plus soft Dice loss (Milletari et al. 2016) over
/// the categories that occur. A Loss.
double segmentation_loss(const float* logits, const ChunkTargets& targets, float* gradient);

}  // namespace telvar::segmenter
