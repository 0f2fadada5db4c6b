#pragma once

// Dense single-precision algebra for the kernel machine. The products are ours, the rest is Eigen's
// (headers only), so that the results depend on no installed BLAS, its threads or its settings.

#include <cstddef>
#include <vector>

#include "core/worker_pool.h"

namespace telvar::classifier {

/// Row-major; rows are padded to a multiple of 16 values with zeros.
class Matrix {
 public:
  static constexpr std::size_t kRowMultiple = 16;

  Matrix() = default;
  Matrix(int rows, int columns)
      : rows_(rows),
        columns_(columns),
        stride_((static_cast<std::size_t>(columns) + kRowMultiple - 1) / kRowMultiple *
                kRowMultiple),
        values_(stride_ * rows) {}

  int rows() const { return rows_; }
  int columns() const { return columns_; }
  std::size_t stride() const { return stride_; }
  float* row(int i) { return values_.data() + stride_ * i; }
  const float* row(int i) const { return values_.data() + stride_ * i; }
  float& at(int i, int j) { return row(i)[j]; }
  float at(int i, int j) const { return row(i)[j]; }

 private:
  int rows_ = 0, columns_ = 0;
  std::size_t stride_ = 0;
  std::vector<float> values_;
};

/// a b', where a is m x k and b is n x k.
Matrix multiply_abt(const Matrix& a, const Matrix& b, core::WorkerPool& pool);

/// Replaces the lower triangle of a symmetric positive definite matrix by its Cholesky factor and
/// the upper one by zeros; false when it is not positive definite.
bool cholesky(Matrix& matrix, core::WorkerPool& pool);

/// The transposed inverse of a lower triangular matrix.
Matrix inverse_transposed(const Matrix& lower, core::WorkerPool& pool);

}  // namespace telvar::classifier
