#include "classifier/kernel_machine.h"

#include <algorithm>

#include "classifier/kernel_algebra.h"

namespace telvar::classifier {

void KernelMachine::place_landmarks(const std::vector<Features>& samples) {
  landmarks_ = weighted(samples, choice_.group_weights);
  squares_ = squares_of(landmarks_);
}

Matrix KernelMachine::kernel_of(const std::vector<Features>& all_views, int views,
                                core::WorkerPool& pool) const {
  const Matrix features = weighted(all_views, choice_.group_weights);
  Matrix kernel = distances(features, squares_of(features), landmarks_, squares_, pool);
  to_kernel(kernel, pool);
  if (views == 1) return kernel;
  Matrix mean(kernel.rows() / views, kernel.columns());
  for (int row = 0; row < kernel.rows(); ++row) {
    float* sum = mean.row(row % mean.rows());
    for (int j = 0; j < kernel.columns(); ++j) {
      sum[j] += kernel.at(row, j) / static_cast<float>(views);
    }
  }
  return mean;
}

KernelMachine KernelMachine::learn(const KernelChoice& choice, const std::vector<Features>& samples,
                                   int views, const ViewsOf& views_of,
                                   const std::vector<int>& labels, int categories,
                                   core::WorkerPool& pool, Matrix& held_out) {
  KernelMachine machine;
  machine.choice_ = choice;
  machine.place_landmarks(samples);
  const int count = static_cast<int>(samples.size());
  const int block = std::max(1, kKernelBlockRows / views);
  Matrix kernel(count, count);
  for (int first = 0; first < count; first += block) {
    const int last = std::min(count, first + block);
    const Matrix rows = machine.kernel_of(views_of(first, last), views, pool);
    for (int i = first; i < last; ++i) std::copy_n(rows.row(i - first), count, kernel.row(i));
  }
  for (int i = 0; i < kernel.rows(); ++i) {
    // Views on a grid are not exactly each other's images.
    for (int j = 0; j < i; ++j) {
      kernel.at(i, j) = kernel.at(j, i) = 0.5f * (kernel.at(i, j) + kernel.at(j, i));
    }
  }
  const Matrix targets = targets_of(labels, categories, machine.offsets_);
  Solution solution = solve_surely(kernel, choice.ridge, targets, pool);
  machine.coefficients_ = std::move(solution.coefficients);
  held_out = std::move(solution.held_out);
  for (int i = 0; i < held_out.rows(); ++i) {
    for (int c = 0; c < categories; ++c) held_out.at(i, c) += machine.offsets_[c];
  }
  return machine;
}

Matrix KernelMachine::scores(const std::vector<Features>& all_views, int views,
                             core::WorkerPool& pool) const {
  const Matrix kernel = kernel_of(all_views, views, pool);
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
