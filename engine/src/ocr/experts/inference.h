#pragma once

// Runs the network over images of any size, piece by piece.

#include <functional>
#include <string>
#include <vector>

#include "core/raster.h"
#include "core/regions.h"
#include "core/worker_pool.h"
#include "nn/inference.h"
#include "ocr/experts/decoding.h"

namespace telvar::ocr {

/// Gray pixels at reading scale, fetched window by window.
struct GraySource {
  std::string subject;  // what errors call it
  int width = 0;
  int height = 0;
  std::function<core::Raster(int left, int top, int width, int height)> window;
};

/// The region of a checked image, which must outlive the source. Throws invalid_image_size, naming
/// `subject`, beyond kMaxReadingPixels.
GraySource source_of(const types::ImageView& image, const core::Region& region,
                     const NominalSize& size, const std::string& subject);

/// A prepared sample, which must outlive the source; errors call it by its name.
GraySource source_of(const PreparedSample& sample);

/// kBest: bfloat16 on processors with instructions for it, where it takes about half the time and
/// reads the same; single precision elsewhere.
enum class Precision { kBest, kSingle };

/// A trained network as reading uses it: normalisations folded. Immutable; any number of threads.
class NetworkInference {
 public:
  /// Copies the weights.
  explicit NetworkInference(const nn::Network& net, Precision precision = Precision::kBest);

  int categories() const { return categories_; }

  /// The votes of all cells above kVoteThreshold, row by row of each piece. The pieces, and so the
  /// votes, do not depend on the number of threads. Memory: docs/engine.md#memory. Throws
  /// invalid_image_size beyond kMaxVoteScores.
  std::vector<CellVote> votes(const GraySource& source, core::WorkerPool& pool) const;

 private:
  int categories_;
  nn::Inference net_;
};

}  // namespace telvar::ocr
