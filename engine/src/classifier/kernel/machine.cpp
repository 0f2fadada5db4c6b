#include "classifier/kernel/machine.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "classifier/kernel/algebra.h"

namespace telvar::classifier {
namespace {

constexpr int kBlockRows = 512;            // compared at a time; bounds the memory that orders take
constexpr float kLeastSimilarity = 1e-9f;  // keeps the logarithm finite

void copy(Matrix& to, int row, const Matrix& from, int from_row) {
  if (from.columns() > 0) std::copy_n(from.row(from_row), from.columns(), to.row(row));
}

}  // namespace

KernelAnswer KernelAnswer::of(int samples, int categories, bool covariances) {
  return {Matrix(samples, categories), Matrix(samples, categories),
          covariances ? Matrix(samples, categories) : Matrix()};
}

void KernelAnswer::copy_row(int row, const KernelAnswer& from, int from_row) {
  copy(scores, row, from.scores, from_row);
  copy(distances, row, from.distances, from_row);
  copy(covariance_distances, row, from.covariance_distances, from_row);
}

FeatureGroups KernelMachine::groups() const {
  FeatureGroups groups = choice_.groups();
  if (compares_covariances_) groups.set(kCovariance);
  return groups;
}

void KernelMachine::place_landmarks(const std::vector<Features>& samples,
                                    const std::vector<int>& labels,
                                    const std::vector<FeatureOrder>& orders) {
  labels_ = labels;
  landmarks_ = weighted(samples, choice_.group_weights);
  squares_ = row_norms_squared(landmarks_);
  orders_.clear();
  for (const FeatureOrder& order : orders) {
    orders_.push_back(column_order(order, choice_.group_weights));
  }
  if (compares_covariances_) {
    const auto categories = static_cast<int>(offsets_.size());
    by_covariance_ = Neighbours(kCovariance, samples, labels, categories, orders);
  }
}

Matrix KernelMachine::similarities(const std::vector<Features>& samples,
                                   core::WorkerPool& pool) const {
  const Matrix features = weighted(samples, choice_.group_weights);
  const std::vector<float> squares = row_norms_squared(features);
  const int orders = static_cast<int>(orders_.size()), most = std::max(1, kBlockRows / orders);
  Matrix mean(features.rows(), landmarks_.rows());
  for (int first = 0; first < mean.rows(); first += most) {
    const int last = std::min(mean.rows(), first + most);
    std::vector<float> seen_squares;
    for (int order = 0; order < orders; ++order) {
      seen_squares.insert(seen_squares.end(), squares.begin() + first, squares.begin() + last);
    }
    Matrix kernel = distances(in_orders(features, first, last, orders_), seen_squares, landmarks_,
                              squares_, pool);
    to_kernel(kernel, pool);
    for (int row = 0; row < kernel.rows(); ++row) {
      float* const sum = mean.row(first + row % (last - first));
      for (int j = 0; j < kernel.columns(); ++j) {
        sum[j] += kernel.at(row, j) / static_cast<float>(orders);
      }
    }
  }
  return mean;
}

KernelMachine KernelMachine::learn(const KernelChoice& choice, const std::vector<Features>& samples,
                                   const std::vector<FeatureOrder>& orders,
                                   const std::vector<int>& labels, int categories,
                                   core::WorkerPool& pool, KernelAnswer& held_out) {
  KernelMachine machine;
  machine.choice_ = choice;
  const Matrix targets = targets_of(labels, categories, machine.offsets_);
  machine.place_landmarks(samples, labels, orders);
  const Matrix kernel = machine.similarities(samples, pool);
  Solution solution = solve_surely(kernel, choice.ridge, targets, pool);
  machine.coefficients_ = std::move(solution.coefficients);
  held_out = {std::move(solution.held_out), Matrix(kernel.rows(), categories),
              machine.by_covariance_.distances(samples, true, pool)};
  for (int i = 0; i < kernel.rows(); ++i) {
    for (int c = 0; c < categories; ++c) held_out.scores.at(i, c) += machine.offsets_[c];
    machine.distances_by(kernel.row(i), i, held_out.distances.row(i));
  }
  return machine;
}

void KernelMachine::distances_by(const float* similarities, int skipped, float* distances) const {
  const std::size_t categories = offsets_.size();
  std::vector<float> highest(categories * kNearest);  // of each category, descending
  std::vector<int> counts(categories);
  for (int i = 0; i < samples(); ++i) {
    if (i == skipped) continue;
    float* const of_category = highest.data() + static_cast<std::size_t>(labels_[i]) * kNearest;
    ++counts[labels_[i]];
    float value = similarities[i];
    for (int k = 0; k < kNearest && value > of_category[kNearest - 1]; ++k) {
      if (value > of_category[k]) std::swap(value, of_category[k]);
    }
  }
  for (std::size_t c = 0; c < categories; ++c) {
    float sum = 0;
    for (int k = 0; k < kNearest; ++k) sum += highest[c * kNearest + k];
    const auto mean = sum / static_cast<float>(std::clamp(counts[c], 1, kNearest));
    distances[c] = -std::log(std::clamp(mean, kLeastSimilarity, 1.0f));
  }
}

KernelAnswer KernelMachine::answer(const std::vector<Features>& samples,
                                   core::WorkerPool& pool) const {
  const Matrix kernel = similarities(samples, pool);
  KernelAnswer answer{Matrix(kernel.rows(), coefficients_.columns()),
                      Matrix(kernel.rows(), coefficients_.columns()),
                      by_covariance_.distances(samples, false, pool)};
  Matrix& scores = answer.scores;
  for (int i = 0; i < scores.rows(); ++i) {
    std::copy(offsets_.begin(), offsets_.end(), scores.row(i));
    for (int k = 0; k < kernel.columns(); ++k) {
      for (int c = 0; c < scores.columns(); ++c) {
        scores.at(i, c) += kernel.at(i, k) * coefficients_.at(k, c);
      }
    }
    distances_by(kernel.row(i), -1, answer.distances.row(i));
  }
  return answer;
}

void KernelMachine::write(core::ByteWriter& writer) const {
  writer.floats(choice_.group_weights.data(), kFeatureGroups);
  writer.f32(choice_.ridge);
  writer.floats(offsets_.data(), offsets_.size());
  for (int i = 0; i < coefficients_.rows(); ++i) {
    writer.floats(coefficients_.row(i), coefficients_.columns());
  }
}

KernelMachine KernelMachine::read(core::ByteReader& reader, int groups, int samples,
                                  int categories) {
  KernelMachine machine;
  machine.choice_.group_weights = reader.floats("kernel weights", groups);
  machine.choice_.group_weights.resize(kFeatureGroups);
  machine.compares_covariances_ = groups > kCovariance;
  bool any = false;
  for (const float weight : machine.choice_.group_weights) {
    if (weight < 0) throw core::malformed_bytes("kernel weights: a weight is negative");
    any = any || weight > 0;
  }
  if (!any || samples < 1) throw core::malformed_bytes("kernel machine: nothing to weigh");
  machine.choice_.ridge = reader.f32("ridge");
  machine.offsets_ = reader.floats("kernel offsets", categories);
  const auto wanted = static_cast<std::size_t>(samples) * categories;
  if (wanted > reader.remaining() / 4) {
    throw core::malformed_bytes("kernel coefficients: " + std::to_string(wanted) +
                                " values wanted, " + std::to_string(reader.remaining()) +
                                " bytes are left");
  }
  machine.coefficients_ = Matrix(samples, categories);
  for (int i = 0; i < machine.coefficients_.rows(); ++i) {
    reader.floats("kernel coefficients", machine.coefficients_.row(i), categories);
  }
  return machine;
}

}  // namespace telvar::classifier
