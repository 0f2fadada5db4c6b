#include "classifier/kernel/choice.h"

#include <algorithm>
#include <limits>

#include "classifier/kernel/algebra.h"

namespace telvar::classifier {
namespace {

// What is tried: shares of the groups in the squared distance (coarse and fine shape, pixels,
// texture, colour), from shape alone to texture and colour alone, and texture of
// any colour; then widths and ridges.
constexpr float kMixes[][kFeatureGroups] = {{.50f, .50f, 0, 0, 0},
                                            {.35f, .35f, .30f, 0, 0},
                                            {.20f, .20f, .60f, 0, 0},
                                            {.25f, .25f, .20f, .15f, .15f},
                                            {.15f, .15f, .10f, .30f, .30f},
                                            {0, 0, 0, .5f, .5f},
                                            {0, 0, 0, 1, 0}};
constexpr float kWidths[] = {0.4f, 0.8f, 1.6f};  // of the mean squared distance, inverted
constexpr float kRidges[] = {0.01f, 0.1f, 0.5f};

/// Squared leave-one-out error, and the share of samples that it gets wrong.
double held_out_error(const Matrix& held_out, const Matrix& targets,
                      const std::vector<int>& labels) {
  double squared = 0, wrong = 0;
  for (int i = 0; i < targets.rows(); ++i) {
    const float* row = held_out.row(i);
    wrong += std::max_element(row, row + targets.columns()) - row != labels[i];
    for (int c = 0; c < targets.columns(); ++c) {
      const double difference = row[c] - targets.at(i, c);
      squared += difference * difference;
    }
  }
  return (squared + wrong) / targets.rows();
}

/// One over the mean of the squared distances; 0 where samples do not differ.
float scale_of(const Matrix& distances) {
  double sum = 0;
  const int n = distances.rows();
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) sum += distances.at(i, j);
  }
  const double mean = sum / (static_cast<double>(n) * std::max(1, n - 1));
  return mean > 1e-9 ? static_cast<float>(1 / mean) : 0.0f;
}

/// Squared distances between the samples seen in one order and the samples, a matrix a group.
using GroupDistances = std::vector<Matrix>;

GroupDistances group_distances(const std::vector<Features>& samples, const FeatureOrder& order,
                               core::WorkerPool& pool) {
  GroupDistances all;
  for (int g = 0; g < kFeatureGroups; ++g) {
    Weights single(kFeatureGroups);
    single[g] = 1;
    const Matrix features = weighted(samples, single);
    const std::vector<float> squares = row_norms_squared(features);
    const Matrix seen = in_orders(features, 0, features.rows(), {column_order(order, single)});
    all.push_back(distances(seen, squares, features, squares, pool));
  }
  return all;
}

/// The mean over the orders.
Matrix kernel_of(const std::vector<GroupDistances>& orders, const Weights& weights,
                 core::WorkerPool& pool) {
  const int count = orders[0][0].rows();
  Matrix mean(count, count);
  for (const GroupDistances& groups : orders) {
    Matrix kernel(count, count);
    for (int g = 0; g < kFeatureGroups; ++g) {
      if (weights[g] > 0) add_scaled(kernel, groups[g], weights[g]);
    }
    to_kernel(kernel, pool);
    add_scaled(mean, kernel, 1 / static_cast<float>(orders.size()));
  }
  return mean;
}

}  // namespace

KernelChoice choose_kernel(const std::vector<Features>& samples, const std::vector<int>& labels,
                           int categories, const std::vector<FeatureOrder>& orders,
                           core::WorkerPool& pool) {
  std::vector<GroupDistances> seen;
  seen.reserve(orders.size());
  for (const FeatureOrder& order : orders) seen.push_back(group_distances(samples, order, pool));
  Weights scales, offsets;
  for (const Matrix& group : seen[0]) scales.push_back(scale_of(group));
  const Matrix targets = targets_of(labels, categories, offsets);
  // Samples that are all alike leave nothing to choose, but a machine must weigh something.
  KernelChoice best{Weights(kFeatureGroups, 1.0f), kRidges[1]};
  double best_error = std::numeric_limits<double>::max();
  for (const auto& mix : kMixes) {
    float total = 0;
    for (int g = 0; g < kFeatureGroups; ++g) total += scales[g] > 0 ? mix[g] : 0;
    if (!(total > 0)) continue;
    for (const float width : kWidths) {
      pool.monitor().check();
      KernelChoice choice{Weights(kFeatureGroups), 0};
      for (int g = 0; g < kFeatureGroups; ++g) {
        choice.group_weights[g] = width * mix[g] / total * scales[g];
      }
      const Matrix kernel = kernel_of(seen, choice.group_weights, pool);
      for (const float ridge : kRidges) {
        Solution solution;
        if (!solve(kernel, ridge, targets, pool, solution)) continue;
        const double error = held_out_error(solution.held_out, targets, labels);
        choice.ridge = ridge;
        if (error < best_error) best = choice, best_error = error;
      }
    }
  }
  return best;
}

std::vector<std::vector<int>> recognised_in_orders(const KernelChoice& choice,
                                                   const std::vector<Features>& samples,
                                                   const std::vector<int>& labels, int categories,
                                                   const std::vector<FeatureOrder>& orders,
                                                   core::WorkerPool& pool) {
  const Matrix features = weighted(samples, choice.group_weights);
  const std::vector<float> squares = row_norms_squared(features);
  Matrix kernel = distances(features, squares, features, squares, pool);
  to_kernel(kernel, pool);
  Weights offsets;
  const Matrix targets = targets_of(labels, categories, offsets);
  const Solution solution = solve_surely(kernel, choice.ridge, targets, pool);
  const Matrix inverse = multiply_abt(solution.inverse_factor, solution.inverse_factor, pool);
  std::vector<std::vector<int>> recognised;
  for (const FeatureOrder& order : orders) {
    const Matrix seen =
        in_orders(features, 0, features.rows(), {column_order(order, choice.group_weights)});
    Matrix similarity = distances(seen, squares, features, squares, pool);
    to_kernel(similarity, pool);
    std::vector<int> right(categories);
    for (int i = 0; i < similarity.rows(); ++i) {
      // Without sample i, coefficient j is a_j - G_ij a_i / G_ii, G the inverse.
      float overlap = 0;
      for (int j = 0; j < similarity.rows(); ++j) overlap += similarity.at(i, j) * inverse.at(i, j);
      std::vector<float> scores = offsets;
      for (int c = 0; c < categories; ++c) {
        for (int j = 0; j < similarity.rows(); ++j) {
          scores[c] += similarity.at(i, j) * solution.coefficients.at(j, c);
        }
        scores[c] -= overlap * solution.coefficients.at(i, c) / inverse.at(i, i);
      }
      const auto best = std::max_element(scores.begin(), scores.end()) - scores.begin();
      if (best == labels[i]) ++right[best];
    }
    recognised.push_back(std::move(right));
  }
  return recognised;
}

}  // namespace telvar::classifier
