#pragma once

// How far samples are from the nearest ones of each category, by one feature group.

#include <vector>

#include "classifier/kernel/features.h"
#include "classifier/kernel/matrix.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

/// A category is as near as the mean of so many of its samples: one alone may be mislabelled.
constexpr int kNearest = 5;

class Neighbours {
 public:
  /// Nothing to compare with.
  Neighbours() = default;
  /// Samples with a category each (below `categories`), that mean the same in all orders.
  Neighbours(FeatureGroup group, const std::vector<Features>& samples,
             const std::vector<int>& labels, int categories,
             const std::vector<FeatureOrder>& orders);

  /// Logarithms of the mean squared distances from the nearest samples of each category, samples x
  /// categories. `themselves`: the samples are those that are compared with, and each is left out
  /// for itself. Empty where there is nothing to compare with.
  Matrix distances(const std::vector<Features>& samples, bool themselves,
                   core::WorkerPool& pool) const;

 private:
  /// The least of all orders, rows first .. last - 1 of `features`.
  Matrix least_distances(const Matrix& features, int first, int last, core::WorkerPool& pool) const;

  std::vector<float> weights_;  // 1 for the group
  Matrix features_;
  std::vector<float> squares_;
  std::vector<int> labels_;
  int categories_ = 0;
  std::vector<std::vector<int>> orders_;
};

}  // namespace telvar::classifier
