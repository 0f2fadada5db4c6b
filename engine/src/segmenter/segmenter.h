#pragma once

// A trained model at work.

#include <map>
#include <string>
#include <vector>

#include "core/regions.h"
#include "core/worker_pool.h"
#include "segmenter/network/inference.h"
#include "segmenter/state.h"
#include "telvar/image.h"

namespace telvar::segmenter {

/// May be used from several threads at once.
class Segmenter {
 public:
  /// `threads` as a WorkerPool takes them. Throws what read_state throws.
  Segmenter(const std::string& artifact, unsigned threads)
      : Segmenter(read_state(artifact), threads) {}

  /// One 8-bit gray image for each category of the model, in the checked region's size: the
  /// probability 0..255.
  std::map<std::string, types::Image> segment(const types::ImageView& image,
                                              const core::Region& region) const;

 private:
  Segmenter(SegmenterState state, unsigned threads);

  mutable core::WorkerPool pool_;
  std::vector<std::string> categories_;
  Predictor predictor_;
  ContextPredictor context_;
};

}  // namespace telvar::segmenter
