#pragma once

// Inference on single images of any size, a few rows of each layer at a time (nn/sweep.h). Memory
// grows with an image's width only, and the kernels depend on nothing but the width, rounded up:
// making them for every new size would cost more than small images themselves.

#include "nn/folded_network.h"
#include "nn/inference.h"
#include "nn/recently_used.h"
#include "nn/spare_memory.h"
#include "nn/sweep.h"

namespace telvar::nn {

class SweptInference {
 public:
  /// `network` must outlive this.
  explicit SweptInference(const FoldedNetwork& network);

  /// False for networks with means over whole images.
  static bool can_run(const FoldedNetwork& network);

  /// Any number of threads may call it at once.
  Answer operator()(const float* input, const InputSize& size);

 private:
  struct Wide;
  class Run;

  Wide prepare(int width) const;

  const FoldedNetwork& network_;
  RecentlyUsed<int, Wide> widths_;
  SpareMemory spare_;
};

}  // namespace telvar::nn
