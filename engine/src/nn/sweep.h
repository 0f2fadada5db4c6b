#pragma once

// In what order the rows of a network's layers are computed when an image is swept from its top to
// its bottom (layer fusion; Alwani et al., 2016).
//
// Each layer computes blocks of a few rows, one a wave, as soon as the rows that it reads are
// there. So a layer's results need to be kept for as many rows as later layers still read, not for
// the whole image, and are read while they are in the processor's cache.
//
// Row 0 is an image's first in every layer. Rows above it are zeros, which layers may read.

#include <vector>

#include "nn/network.h"

namespace telvar::nn {

/// Rows [begin, end) of a layer.
struct RowSpan {
  int begin, end;
};

class Sweep {
 public:
  /// Blocks of the input have at least `rows` rows. The layers up to `answer` must not hold means.
  Sweep(const std::vector<Layer>& layers, Node answer, int rows);

  /// Rows that a layer computes at once.
  int block(Node node) const { return blocks_[node]; }
  /// The most rows that a layer must keep at any time, a new block included.
  int kept(Node node) const { return kept_[node]; }
  /// How many zeros others read below the last row of a layer.
  int below(Node node) const { return below_[node]; }
  /// Input rows for each row of the smallest layer.
  int largest_stride() const { return largest_stride_; }

  /// How far each layer has got with one image.
  class Progress {
   public:
    explicit Progress(const Sweep& sweep) : sweep_(&sweep), done_(sweep.blocks_.size()) {}

    /// Rows that are done, which is where the next block begins.
    int done(Node node) const { return done_[node]; }
    /// Whether everything is there that the layer's next block reads.
    bool ready(Node node) const;
    void advance(Node node) { done_[node] += sweep_->blocks_[node]; }
    /// The first row of a layer that is still read by another.
    int first_needed(Node node) const;

   private:
    const Sweep* sweep_;
    std::vector<int> done_;
  };

 private:
  /// Layer `reader` reads layer `source`.
  struct Edge {
    Node reader, source;
    int numerator, denominator;  // of a source row's number to that of the reader's row
    int above, below;            // rows read beside that one
  };

  void connect(const std::vector<Layer>& layers, Node node);
  RowSpan read(const Edge& edge, int row) const;
  void find_kept();

  std::vector<int> blocks_, kept_, below_;
  std::vector<Edge> edges_;
  int largest_stride_ = 1;
};

}  // namespace telvar::nn
