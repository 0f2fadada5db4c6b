#include "classifier/kernel/choice.h"

#include <algorithm>
#include <utility>

#include "classifier/kernel/algebra.h"
#include "classifier/kernel/paired_errors.h"

namespace telvar::classifier {
namespace {

// What is tried: shares of the groups in the squared distance (coarse and fine shape, pixels,
// texture, colour, covariance), from shape alone to texture and colour alone, and texture of
// any colour; then widths and ridges.
constexpr float kMixes[][kFeatureGroups] = {{.50f, .50f, 0, 0, 0, 0},
                                            {.35f, .35f, .30f, 0, 0, 0},
                                            {.20f, .20f, .60f, 0, 0, 0},
                                            {.25f, .25f, .20f, .15f, .15f, 0},
                                            {.15f, .15f, .10f, .30f, .30f, 0},
                                            {0, 0, 0, .5f, .5f, 0},
                                            {0, 0, 0, 1, 0, 0}};
// Those with covariances win by a clear gain, in standard errors of the samples' differences: the
// lowest of many errors on a hundred samples is often chance (clothes and parts, ten a class, lost
// one and three points by it).
constexpr float kCovarianceMixes[][kFeatureGroups] = {
    {0, 0, 0, .5f, 0, .5f}, {.25f, .25f, 0, 0, 0, .5f}, {.35f, .35f, 0, 0, 0, .30f}};
constexpr double kClearGain = 2;
constexpr float kWidths[] = {0.4f, 0.8f, 1.6f};  // of the mean squared distance, inverted
constexpr float kRidges[] = {0.01f, 0.1f, 0.5f};

/// For each sample its squared leave-one-out error, and 1 more where it is not recognised.
std::vector<double> held_out_errors(const Matrix& held_out, const Matrix& targets,
                                    const std::vector<int>& labels) {
  std::vector<double> errors(labels.size());
  for (int i = 0; i < targets.rows(); ++i) {
    const float* row = held_out.row(i);
    errors[i] = std::max_element(row, row + targets.columns()) - row != labels[i] ? 1 : 0;
    for (int c = 0; c < targets.columns(); ++c) {
      const double difference = row[c] - targets.at(i, c);
      errors[i] += difference * difference;
    }
  }
  return errors;
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

/// A choice and its errors; none where nothing was to choose.
struct Candidate {
  KernelChoice choice;
  std::vector<double> errors;
};

/// Tries mixes on a few hundred samples.
class Trial {
 public:
  Trial(const std::vector<Features>& samples, const std::vector<int>& labels, int categories,
        const std::vector<FeatureOrder>& orders, core::TrainingPool& pool)
      : labels_(labels), pool_(pool) {
    for (const FeatureOrder& order : orders) seen_.push_back(group_distances(samples, order, pool));
    for (const Matrix& group : seen_[0]) scales_.push_back(scale_of(group));
    Weights offsets;
    targets_ = targets_of(labels, categories, offsets);
  }

  /// Replaces `best` where a width and a ridge of this mix have a lower error.
  void consider(const float (&mix)[kFeatureGroups], Candidate& best) const {
    float total = 0;
    for (int g = 0; g < kFeatureGroups; ++g) total += scales_[g] > 0 ? mix[g] : 0;
    if (!(total > 0)) return;
    for (const float width : kWidths) {
      pool_.monitor().check();
      KernelChoice choice{Weights(kFeatureGroups), 0};
      for (int g = 0; g < kFeatureGroups; ++g) {
        choice.group_weights[g] = width * mix[g] / total * scales_[g];
      }
      consider_ridges(choice, best);
    }
  }

 private:
  void consider_ridges(KernelChoice& choice, Candidate& best) const {
    const Matrix kernel = kernel_of(seen_, choice.group_weights, pool_);
    for (const float ridge : kRidges) {
      Solution solution;
      if (!solve(kernel, ridge, targets_, pool_, solution)) continue;
      std::vector<double> errors = held_out_errors(solution.held_out, targets_, labels_);
      if (!best.errors.empty() && mean_of(errors) >= mean_of(best.errors)) continue;
      choice.ridge = ridge;
      best = {choice, std::move(errors)};
    }
  }

  const std::vector<int>& labels_;
  core::TrainingPool& pool_;
  std::vector<GroupDistances> seen_;  // an element an order
  Weights scales_;
  Matrix targets_;
};

}  // namespace

FeatureGroups KernelChoice::groups() const {
  FeatureGroups groups;
  for (int g = 0; g < kFeatureGroups; ++g) groups[g] = group_weights[g] > 0;
  return groups;
}

KernelChoice choose_kernel(const std::vector<Features>& samples, const std::vector<int>& labels,
                           int categories, const std::vector<FeatureOrder>& orders,
                           core::TrainingPool& pool) {
  const Trial trial(samples, labels, categories, orders, pool);
  // Samples that are all alike leave nothing to choose, but a machine must weigh something.
  Candidate best{{Weights(kFeatureGroups, 1.0f), kRidges[1]}, {}}, other;
  for (const auto& mix : kMixes) trial.consider(mix, best);
  for (const auto& mix : kCovarianceMixes) trial.consider(mix, other);
  if (best.errors.empty() || other.errors.empty()) {
    return best.errors.empty() && !other.errors.empty() ? other.choice : best.choice;
  }
  const bool lower = mean_of(other.errors) < mean_of(best.errors);
  return lower && differ(other.errors, best.errors, kClearGain) ? other.choice : best.choice;
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
