#pragma once

// Segmentation of regions of any size with a trained network: piece by piece, blended.

#include <vector>

#include "core/regions.h"
#include "core/worker_pool.h"
#include "nn/inference.h"
#include "segmenter/network/context.h"
#include "segmenter/network/context_map.h"
#include "segmenter/network/input_planes.h"
#include "segmenter/network/mirrors.h"
#include "telvar/image.h"

namespace telvar::segmenter {

/// Probabilities of one piece, categories x height x width.
using Probabilities = std::vector<float>;

/// A trained network as prediction uses it: in bfloat16 where the processor computes that (half the
/// time, and probabilities within a few hundredths). Immutable; any number of threads.
class Predictor {
 public:
  /// Copies the weights. A network that takes more planes than `spec` has wants a map's, too.
  Predictor(const nn::Network& net, const InputSpec& spec);

  const InputSpec& spec() const { return spec_; }
  int categories() const { return categories_; }

  /// Runs the network over `pixels` (spec.source_channels() x height x width, 0..1); borders repeat
  /// up to the next multiple of the network's stride. The piece begins at `place` in the region
  /// that `map` shows. Call inside a LibraryThreadScope or a pool.
  Probabilities predict_piece(const float* pixels, int width, int height, const ContextMap& map,
                              const PlaceInRegion& place) const;

 private:
  void add_logits(const nn::Answer& answer, const Mirror& mirror, int width, int height,
                  std::vector<float>& logits) const;

  InputSpec spec_;
  int categories_;
  int context_planes_;
  nn::Inference net_;
};

/// Segments a checked region. Returns one 8-bit gray image a category, in the region's size:
/// probability 0..255. Pieces are computed by the pool; the result does not depend on its threads.
/// Memory: the result; 4 bytes x categories x region width x 512 to blend in; a thread, what the
/// network computes with and two pieces of 1 MB a category.
std::vector<types::Image> predict_region(const Predictor& predictor,
                                         const ContextPredictor& context,
                                         const types::ImageView& image, const core::Region& region,
                                         core::WorkerPool& pool);

}  // namespace telvar::segmenter
