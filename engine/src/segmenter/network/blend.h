#pragma once

// Puts overlapping pieces together, row of pieces by row of pieces.

#include <vector>

#include "segmenter/network/tiling.h"
#include "telvar/image.h"

namespace telvar::segmenter {

struct PiecePlan {
  std::vector<TileSpan> columns, rows;
  int width = 0;
  int height = 0;
};

/// The smallest pieces, of sides up to `side`, that cover an area with `overlap` in as few pieces
/// as possible. Sides (but those cut off by the area's end) and places are multiples of `multiple`.
PiecePlan plan_pieces(int width, int height, int side, int overlap, int multiple);

/// Collects rows of pieces and keeps only what later rows may still change.
class BandBlender {
 public:
  BandBlender(const PiecePlan& plan, int categories);

  /// Adds a piece (categories x height x width, 0..1). By ascending row; within a row the order
  /// decides nothing but the rounding.
  void add_piece(std::size_t row, std::size_t column, const std::vector<float>& piece);

  /// After the last row: one 8-bit gray image a category.
  std::vector<types::Image> take();

 private:
  void finish_rows(int end);
  float* band_row(int category, int y);

  const PiecePlan& plan_;
  int categories_;
  int band_height_;
  int finished_ = 0;         // rows of the area that are done
  std::vector<float> band_;  // categories x band height x width, a ring over rows
  std::vector<types::Image> images_;
};

}  // namespace telvar::segmenter
