#pragma once

// What choosing a kernel and learning with it share: weighted distances, and the ridge solution.

#include <vector>

#include "classifier/kernel/features.h"
#include "classifier/kernel/matrix.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

using Weights = std::vector<float>;

/// All groups side by side, scaled so that squared distances add up as weighted.
Matrix weighted(const std::vector<Features>& samples, const Weights& weights);

/// Where the columns of `weighted` come from in an order.
std::vector<int> column_order(const FeatureOrder& order, const Weights& weights);

/// Rows first .. last - 1 in each order (column i from column order[i]), one order after the other.
Matrix in_orders(const Matrix& matrix, int first, int last,
                 const std::vector<std::vector<int>>& orders);

/// The squared length of each row.
std::vector<float> row_norms_squared(const Matrix& matrix);

/// Squared distances between the rows of a and b.
Matrix distances(const Matrix& a, const std::vector<float>& a_squares, const Matrix& b,
                 const std::vector<float>& b_squares, core::WorkerPool& pool);

/// Adds `factor` times `other`.
void add_scaled(Matrix& sum, const Matrix& other, float factor);

/// exp(-distance), in place.
void to_kernel(Matrix& distances, core::WorkerPool& pool);

/// One column a category, centred; `offsets` takes the means.
Matrix targets_of(const std::vector<int>& labels, int categories, std::vector<float>& offsets);

struct Solution {
  Matrix coefficients, held_out;
  Matrix inverse_factor;  // row i: column i of the inverted Cholesky factor
};

/// Solves (kernel + ridge I) a = targets. False when the kernel is too close to singular.
bool solve(Matrix kernel, float ridge, const Matrix& targets, core::WorkerPool& pool,
           Solution& solution);

/// `solve`; identical samples can make the kernel singular, and a larger ridge always helps.
Solution solve_surely(const Matrix& kernel, float ridge, const Matrix& targets,
                      core::WorkerPool& pool);

}  // namespace telvar::classifier
