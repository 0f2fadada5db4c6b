#include "classifier/kernel/algebra.h"

#include <algorithm>
#include <cmath>

namespace telvar::classifier {

Matrix weighted(const std::vector<Features>& samples, const Weights& weights) {
  int columns = 0;
  for (int g = 0; g < kFeatureGroups; ++g) {
    if (weights[g] > 0) columns += static_cast<int>(samples[0][g].size());
  }
  Matrix matrix(static_cast<int>(samples.size()), columns);
  for (int i = 0; i < matrix.rows(); ++i) {
    float* out = matrix.row(i);
    for (int g = 0; g < kFeatureGroups; ++g) {
      if (!(weights[g] > 0)) continue;
      const float scale = std::sqrt(weights[g]);
      for (const float value : samples[i][g]) *out++ = scale * value;
    }
  }
  return matrix;
}

std::vector<int> column_order(const FeatureOrder& order, const Weights& weights) {
  std::vector<int> columns;
  for (int g = 0; g < kFeatureGroups; ++g) {
    if (!(weights[g] > 0)) continue;
    const int first = static_cast<int>(columns.size());
    for (const int from : order[g]) columns.push_back(first + from);
  }
  return columns;
}

Matrix in_orders(const Matrix& matrix, int first, int last,
                 const std::vector<std::vector<int>>& orders) {
  const int count = last - first;
  Matrix out(static_cast<int>(orders.size()) * count, matrix.columns());
  for (int row = 0; row < out.rows(); ++row) {
    const std::vector<int>& order = orders[row / count];
    const float* const from = matrix.row(first + row % count);
    float* const to = out.row(row);
    for (int k = 0; k < out.columns(); ++k) to[k] = from[order[k]];
  }
  return out;
}

std::vector<float> row_norms_squared(const Matrix& matrix) {
  std::vector<float> squares;
  for (int i = 0; i < matrix.rows(); ++i) {
    float sum = 0;
    for (int k = 0; k < matrix.columns(); ++k) sum += matrix.at(i, k) * matrix.at(i, k);
    squares.push_back(sum);
  }
  return squares;
}

Matrix distances(const Matrix& a, const std::vector<float>& a_squares, const Matrix& b,
                 const std::vector<float>& b_squares, core::WorkerPool& pool) {
  Matrix out = multiply_abt(a, b, pool);
  for (int i = 0; i < out.rows(); ++i) {
    for (int j = 0; j < out.columns(); ++j) {
      out.at(i, j) = std::max(0.0f, a_squares[i] + b_squares[j] - 2 * out.at(i, j));
    }
  }
  return out;
}

void add_scaled(Matrix& sum, const Matrix& other, float factor) {
  for (int i = 0; i < sum.rows(); ++i) {
    for (int j = 0; j < sum.columns(); ++j) sum.at(i, j) += factor * other.at(i, j);
  }
}

void to_kernel(Matrix& distances, core::WorkerPool& pool) {
  constexpr int kRows = 64;
  pool.run((distances.rows() + kRows - 1) / kRows, [&](int block) {
    for (int i = block * kRows; i < std::min(distances.rows(), (block + 1) * kRows); ++i) {
      for (int j = 0; j < distances.columns(); ++j) {
        distances.at(i, j) = std::exp(-distances.at(i, j));
      }
    }
  });
}

Matrix targets_of(const std::vector<int>& labels, int categories, std::vector<float>& offsets) {
  Matrix targets(static_cast<int>(labels.size()), categories);
  offsets.assign(categories, 0);
  for (const int label : labels) offsets[label] += 1.0f / static_cast<float>(labels.size());
  for (int i = 0; i < targets.rows(); ++i) {
    for (int c = 0; c < categories; ++c) {
      targets.at(i, c) = (labels[i] == c ? 1.0f : 0.0f) - offsets[c];
    }
  }
  return targets;
}

bool solve(Matrix kernel, float ridge, const Matrix& targets, core::WorkerPool& pool,
           Solution& solution) {
  const int n = kernel.rows(), categories = targets.columns();
  for (int i = 0; i < n; ++i) kernel.at(i, i) += ridge;
  if (!cholesky(kernel, pool)) return false;
  solution.inverse_factor = inverse_transposed(kernel, pool);
  const Matrix& factor = solution.inverse_factor;
  Matrix whitened(categories, n);
  for (int c = 0; c < categories; ++c) {
    for (int i = 0; i < n; ++i) {
      const float target = targets.at(i, c);
      for (int k = i; k < n; ++k) whitened.at(c, k) += target * factor.at(i, k);
    }
  }
  solution.coefficients = multiply_abt(factor, whitened, pool);
  solution.held_out = Matrix(n, categories);
  const std::vector<float> diagonal = row_norms_squared(factor);
  for (int i = 0; i < n; ++i) {
    for (int c = 0; c < categories; ++c) {
      solution.held_out.at(i, c) = targets.at(i, c) - solution.coefficients.at(i, c) / diagonal[i];
    }
  }
  return true;
}

Solution solve_surely(const Matrix& kernel, float ridge, const Matrix& targets,
                      core::WorkerPool& pool) {
  Solution solution;
  while (!solve(kernel, ridge, targets, pool, solution)) ridge = 4 * ridge + 1e-3f;
  return solution;
}

}  // namespace telvar::classifier
