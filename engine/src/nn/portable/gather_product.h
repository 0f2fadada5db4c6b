#pragma once

// The one heavy loop behind convolutions and both of their gradients: a product of two matrices,
// the first of which is never stored but gathered from a tensor by two tables of offsets:
//
//   result[row][column] = initial[column]
//       + sum over k of values[row_offsets[row] + depth_offsets[k]] * matrix[k][column]
//
// It is compiled once for every instruction set and chosen when the program runs.

#include <cstddef>
#include <cstdint>

#include "nn/number.h"

namespace telvar::nn::portable {

/// How the second factor lies in memory. Its columns are always padded to whole vectors.
enum class MatrixOrder {
  kRows,    // depth x padded columns
  kBlocks,  // a depth x width matrix for each block of columns, one after the other
};

struct GatherProduct {
  const float* values = nullptr;
  const std::int32_t* row_offsets = nullptr;
  std::size_t rows = 0;
  const std::int32_t* depth_offsets = nullptr;
  std::size_t depth = 0;

  const float* matrix = nullptr;
  MatrixOrder order = MatrixOrder::kRows;
  std::size_t columns = 0;

  /// Padded to whole vectors; null: zeros.
  const float* initial = nullptr;
  /// Added to the sums before they are stored, where they are stored; null: nothing. May be the
  /// result itself.
  const void* addend = nullptr;
  Number addend_number = Number::kFloat;
  bool relu = false;

  void* result = nullptr;
  Number result_number = Number::kFloat;
  /// Where every row begins, in elements from `result` and `addend`.
  const std::int32_t* result_offsets = nullptr;
};

/// The loop for one instruction set.
struct ProductKernel {
  std::size_t lanes;        // of a vector
  std::size_t max_vectors;  // of a block of columns
  void (*run)(const GatherProduct& product);

  std::size_t vectors(std::size_t columns) const { return (columns + lanes - 1) / lanes; }
  std::size_t padded(std::size_t columns) const { return vectors(columns) * lanes; }
  std::size_t blocks(std::size_t columns) const {
    return (vectors(columns) + max_vectors - 1) / max_vectors;
  }
  /// First column of a block, counted from 0; padded(columns) for the block behind the last.
  std::size_t block_begin(std::size_t columns, std::size_t block) const {
    return vectors(columns) * block / blocks(columns) * lanes;
  }
};

/// The one for this processor. It is the same for the life of the process, tests excepted.
const ProductKernel& product_kernel();

}  // namespace telvar::nn::portable
