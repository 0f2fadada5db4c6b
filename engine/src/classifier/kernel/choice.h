#pragma once

// Groups, width and ridge of a kernel machine, chosen by leave-one-out error, which has a closed
// form (Rifkin and Lippert, 2007).

#include <vector>

#include "classifier/kernel/features.h"
#include "core/training_pool.h"

namespace telvar::classifier {

/// How the feature groups are weighed, and how smooth the answer is.
struct KernelChoice {
  std::vector<float> group_weights;  // per group, of squared distances; width included
  float ridge = 0;

  /// Those that weigh anything.
  FeatureGroups groups() const;
};

/// The choice with the lowest leave-one-out error for samples that mean the same in all `orders`,
/// the first of which leaves them as they are. A few hundred samples are enough.
KernelChoice choose_kernel(const std::vector<Features>& samples, const std::vector<int>& labels,
                           int categories, const std::vector<FeatureOrder>& orders,
                           core::TrainingPool& pool);

/// For each order and category: how many of its samples are recognised in the order, each by a
/// machine that knows all samples but that one.
std::vector<std::vector<int>> recognised_in_orders(const KernelChoice& choice,
                                                   const std::vector<Features>& samples,
                                                   const std::vector<int>& labels, int categories,
                                                   const std::vector<FeatureOrder>& orders,
                                                   core::WorkerPool& pool);

}  // namespace telvar::classifier
