#include "classifier/kernel/neighbours.h"

#include <algorithm>
#include <cmath>

#include "classifier/kernel/algebra.h"

namespace telvar::classifier {
namespace {

constexpr int kBlockRows = 64;         // compared at a time; bounds the memory that orders take
constexpr float kLeastSquare = 1e-9f;  // keeps the logarithm finite

/// Of at most kNearest of the least values; `kLeastSquare` where there is none.
float mean_of_least(std::vector<float>& values) {
  const auto count = std::min<std::size_t>(kNearest, values.size());
  std::partial_sort(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count),
                    values.end());
  float sum = kLeastSquare;
  for (std::size_t k = 0; k < count; ++k) sum += values[k] / static_cast<float>(count);
  return sum;
}

}  // namespace

Neighbours::Neighbours(FeatureGroup group, const std::vector<Features>& samples,
                       const std::vector<int>& labels, int categories,
                       const std::vector<FeatureOrder>& orders)
    : weights_(kFeatureGroups), labels_(labels), categories_(categories) {
  weights_[group] = 1;
  features_ = weighted(samples, weights_);
  squares_ = row_norms_squared(features_);
  for (const FeatureOrder& order : orders) orders_.push_back(column_order(order, weights_));
}

Matrix Neighbours::least_distances(const Matrix& features, int first, int last,
                                   core::WorkerPool& pool) const {
  const Matrix seen = in_orders(features, first, last, orders_);
  const Matrix all =
      telvar::classifier::distances(seen, row_norms_squared(seen), features_, squares_, pool);
  Matrix least(last - first, features_.rows());
  for (int row = 0; row < all.rows(); ++row) {
    float* const out = least.row(row % (last - first));
    for (int j = 0; j < all.columns(); ++j) {
      out[j] = row < last - first ? all.at(row, j) : std::min(out[j], all.at(row, j));
    }
  }
  return least;
}

Matrix Neighbours::distances(const std::vector<Features>& samples, bool themselves,
                             core::WorkerPool& pool) const {
  if (features_.columns() == 0 || samples.empty()) return {};
  const Matrix features = weighted(samples, weights_);
  Matrix out(features.rows(), categories_);
  for (int first = 0; first < out.rows(); first += kBlockRows) {
    const int last = std::min(out.rows(), first + kBlockRows);
    const Matrix least = least_distances(features, first, last, pool);
    for (int i = first; i < last; ++i) {
      std::vector<std::vector<float>> of_category(categories_);
      for (int j = 0; j < least.columns(); ++j) {
        if (!themselves || j != i) of_category[labels_[j]].push_back(least.at(i - first, j));
      }
      for (int c = 0; c < categories_; ++c) out.at(i, c) = std::log(mean_of_least(of_category[c]));
    }
  }
  return out;
}

}  // namespace telvar::classifier
