#include "classifier/kernel/machine.h"

#include <algorithm>

#include "classifier/kernel/algebra.h"

namespace telvar::classifier {
namespace {

constexpr int kBlockRows = 512;  // compared at a time; bounds the memory that orders take

}  // namespace

void KernelMachine::place_landmarks(const std::vector<Features>& samples,
                                    const std::vector<FeatureOrder>& orders) {
  landmarks_ = weighted(samples, choice_.group_weights);
  squares_ = row_norms_squared(landmarks_);
  orders_.clear();
  for (const FeatureOrder& order : orders) {
    orders_.push_back(column_order(order, choice_.group_weights));
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
                                   core::WorkerPool& pool, Matrix& held_out) {
  KernelMachine machine;
  machine.choice_ = choice;
  machine.place_landmarks(samples, orders);
  const Matrix kernel = machine.similarities(samples, pool);
  const Matrix targets = targets_of(labels, categories, machine.offsets_);
  Solution solution = solve_surely(kernel, choice.ridge, targets, pool);
  machine.coefficients_ = std::move(solution.coefficients);
  held_out = std::move(solution.held_out);
  for (int i = 0; i < held_out.rows(); ++i) {
    for (int c = 0; c < categories; ++c) held_out.at(i, c) += machine.offsets_[c];
  }
  return machine;
}

Matrix KernelMachine::scores(const std::vector<Features>& samples, core::WorkerPool& pool) const {
  const Matrix kernel = similarities(samples, pool);
  Matrix scores(kernel.rows(), coefficients_.columns());
  for (int i = 0; i < scores.rows(); ++i) {
    std::copy(offsets_.begin(), offsets_.end(), scores.row(i));
    for (int k = 0; k < kernel.columns(); ++k) {
      for (int c = 0; c < scores.columns(); ++c) {
        scores.at(i, c) += kernel.at(i, k) * coefficients_.at(k, c);
      }
    }
  }
  return scores;
}

void KernelMachine::write(core::ByteWriter& writer) const {
  writer.floats(choice_.group_weights.data(), kFeatureGroups);
  writer.f32(choice_.ridge);
  writer.floats(offsets_.data(), offsets_.size());
  for (int i = 0; i < coefficients_.rows(); ++i) {
    writer.floats(coefficients_.row(i), coefficients_.columns());
  }
}

KernelMachine KernelMachine::read(core::ByteReader& reader, int samples, int categories) {
  KernelMachine machine;
  machine.choice_.group_weights = reader.floats("kernel weights", kFeatureGroups);
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
