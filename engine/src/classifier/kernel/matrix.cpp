#include "classifier/kernel/matrix.h"

#include <algorithm>

#define EIGEN_DONT_PARALLELIZE
#include <Eigen/Cholesky>
#include <Eigen/Core>

#include "classifier/kernel/dot_products.h"

// Eigen is compiled for the least processor that the library runs on, where its products take two
// to three times as long as ours; its small triangular solves are a hundredth of the work.

namespace telvar::classifier {
namespace {

static_assert(Matrix::kRowMultiple % kDotLength == 0);

constexpr int kBlock = 64;

using Block = Eigen::Map<Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>, 0,
                         Eigen::OuterStride<>>;
using ConstBlock =
    Eigen::Map<const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>, 0,
               Eigen::OuterStride<>>;

Eigen::OuterStride<> stride_of(const Matrix& matrix) {
  return Eigen::OuterStride<>(static_cast<Eigen::Index>(matrix.stride()));
}

/// Rows i0 .. i1 - 1 and columns j0 .. j1 - 1.
Block block_of(Matrix& matrix, int i0, int i1, int j0, int j1) {
  return Block(matrix.row(i0) + j0, i1 - i0, j1 - j0, stride_of(matrix));
}
ConstBlock block_of(const Matrix& matrix, int i0, int i1, int j0, int j1) {
  return ConstBlock(matrix.row(i0) + j0, i1 - i0, j1 - j0, stride_of(matrix));
}

/// Up to the next multiple of 16, one of two rows that are multiplied must be zero.
std::size_t padded(int length) {
  return (static_cast<std::size_t>(length) + kDotLength - 1) / kDotLength * kDotLength;
}

/// Rows first .. last - 1, from a column on.
Rows rows_of(const Matrix& matrix, int first, int last, int column = 0) {
  return {matrix.row(first) + column, matrix.stride(), last - first};
}

/// Subtracts from rows i0 .. i1 - 1 of `matrix`, at columns j0 .. j1 - 1, their dot products with
/// rows j0 .. j1 - 1 of `lower` over columns k0 .. j0 - 1; k0 and j0 are multiples of kBlock.
void subtract_products(Matrix& matrix, int i0, int i1, const Matrix& lower, int j0, int j1,
                       int k0) {
  float products[kBlock * kBlock];
  dot_products(rows_of(matrix, i0, i1, k0), rows_of(lower, j0, j1, k0),
               static_cast<std::size_t>(j0 - k0), products, kBlock);
  for (int i = i0; i < i1; ++i) {
    float* const row = matrix.row(i) + j0;
    for (int j = 0; j < j1 - j0; ++j) row[j] -= products[(i - i0) * kBlock + j];
  }
}

/// Solves x lower' = rows for the block on the diagonal of `lower`, in place.
void divide(Matrix& matrix, int i0, int i1, const Matrix& lower, int j0, int j1) {
  Block rows = block_of(matrix, i0, i1, j0, j1);
  const ConstBlock diagonal = block_of(lower, j0, j1, j0, j1);
  const auto triangle = diagonal.triangularView<Eigen::Lower>();
  triangle.transpose().solveInPlace<Eigen::OnTheRight>(rows);
}

int blocks_of(int count) {
  return (count + kBlock - 1) / kBlock;
}

}  // namespace

Matrix multiply_abt(const Matrix& a, const Matrix& b, core::WorkerPool& pool) {
  Matrix product(a.rows(), b.rows());
  const int across = blocks_of(b.rows());
  pool.run(blocks_of(a.rows()) * across, [&](int block) {
    const int i0 = block / across * kBlock, j0 = block % across * kBlock;
    dot_products(rows_of(a, i0, std::min(a.rows(), i0 + kBlock)),
                 rows_of(b, j0, std::min(b.rows(), j0 + kBlock)), padded(a.columns()),
                 product.row(i0) + j0, product.stride());
  });
  return product;
}

bool cholesky(Matrix& matrix, core::WorkerPool& pool) {
  const int n = matrix.rows();
  for (int j0 = 0; j0 < n; j0 += kBlock) {
    const int j1 = std::min(n, j0 + kBlock);
    // Everything left of the panel is final: its part is subtracted from the whole panel.
    pool.run(j0 == 0 ? 0 : blocks_of(n - j0), [&](int block) {
      const int i0 = j0 + block * kBlock;
      subtract_products(matrix, i0, std::min(n, i0 + kBlock), matrix, j0, j1, 0);
    });
    Block diagonal = block_of(matrix, j0, j1, j0, j1);
    if (Eigen::LLT<Eigen::Ref<Block::PlainObject, 0, Eigen::OuterStride<>>>(diagonal).info() !=
        Eigen::Success) {
      return false;
    }
    pool.run(blocks_of(n - j1), [&](int block) {
      const int i0 = j1 + block * kBlock;
      divide(matrix, i0, std::min(n, i0 + kBlock), matrix, j0, j1);
    });
  }
  for (int i = 0; i < n; ++i) {
    std::fill(matrix.row(i) + i + 1, matrix.row(i) + matrix.stride(), 0.0f);
  }
  return true;
}

Matrix inverse_transposed(const Matrix& lower, core::WorkerPool& pool) {
  // Row c of the result is column c of the inverse: forward substitution of a unit vector. A block
  // of columns goes together, so that the bulk is dot products of rows.
  const int n = lower.rows();
  Matrix inverse(n, n);
  pool.run(blocks_of(n), [&](int block) {
    const int c0 = block * kBlock, c1 = std::min(n, c0 + kBlock);
    for (int c = c0; c < c1; ++c) inverse.at(c, c) = 1;
    for (int i0 = c0; i0 < n; i0 += kBlock) {
      const int i1 = std::min(n, i0 + kBlock);
      if (i0 > c0) subtract_products(inverse, c0, c1, lower, i0, i1, c0);
      divide(inverse, c0, c1, lower, i0, i1);
    }
  });
  return inverse;
}

}  // namespace telvar::classifier
