#pragma once

// How a long axis is cut into pieces.

#include <cstddef>
#include <vector>

namespace telvar::segmenter {

/// Pixels begin .. begin + size - 1 of an axis.
struct TileSpan {
  int begin = 0;
  int size = 0;
};

/// Covers 0 .. length - 1 without overlap, in the fewest pieces of at most `max_size`, whose sizes
/// differ by one at most.
std::vector<TileSpan> even_spans(int length, int max_size);

/// Covers 0 .. length - 1 with pieces of `size` that begin at multiples of `multiple` (of which
/// `size` and `overlap` are) and overlap by `overlap` or more; the last ends where the axis ends. A
/// single piece of `length` when that is no longer than `size`.
std::vector<TileSpan> overlapping_spans(int length, int size, int overlap, int multiple);

/// The weight of a piece's pixel `at` in a blend: rises linearly over `fade` pixels in the middle
/// of the overlap with each neighbour, else 1. `fade` is at most the overlap asked for above; the
/// weights of all pieces over one pixel sum to 1.
float blend_weight(const std::vector<TileSpan>& spans, std::size_t index, int at, int fade);

}  // namespace telvar::segmenter
