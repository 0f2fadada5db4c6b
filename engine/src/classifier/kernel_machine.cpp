#include "classifier/kernel_machine.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "classifier/limits.h"
#include "core/random.h"

namespace telvar::classifier {
namespace {

// Shares of the groups in the squared distance: coarse and fine shape, pixels, texture, colour.
constexpr float kMixes[][kFeatureGroups] = {
    {.50f, .50f, 0, 0, 0},          {.35f, .35f, .30f, 0, 0},       {.20f, .20f, .60f, 0, 0},
    {.25f, .25f, .20f, .15f, .15f}, {.15f, .15f, .10f, .30f, .30f}, {0, 0, 0, .5f, .5f}};
constexpr float kWidths[] = {0.4f, 0.8f, 1.6f};  // of the mean squared distance, inverted
constexpr float kRidges[] = {0.01f, 0.1f, 0.5f};
constexpr int kSelectionSamples = 500;

using Weights = std::vector<float>;

/// All groups side by side, scaled so that squared distances add up as weighted.
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

std::vector<float> squares_of(const Matrix& matrix) {
  std::vector<float> squares;
  for (int i = 0; i < matrix.rows(); ++i) {
    float sum = 0;
    for (int k = 0; k < matrix.columns(); ++k) sum += matrix.at(i, k) * matrix.at(i, k);
    squares.push_back(sum);
  }
  return squares;
}

/// Squared distances between the rows of a and b.
Matrix distances(const Matrix& a, const std::vector<float>& a_squares, const Matrix& b,
                 const std::vector<float>& b_squares, core::WorkerPool& pool) {
  Matrix out = product_transposed(a, b, pool);
  for (int i = 0; i < out.rows(); ++i) {
    for (int j = 0; j < out.columns(); ++j) {
      out.at(i, j) = std::max(0.0f, a_squares[i] + b_squares[j] - 2 * out.at(i, j));
    }
  }
  return out;
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

/// One column a category, centred; `offsets` takes the means.
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

struct Solution {
  Matrix coefficients, held_out;
};

/// Solves (kernel + ridge I) a = targets. False when the kernel is too close to singular.
bool solve(Matrix kernel, float ridge, const Matrix& targets, core::WorkerPool& pool,
           Solution& solution) {
  const int n = kernel.rows(), categories = targets.columns();
  for (int i = 0; i < n; ++i) kernel.at(i, i) += ridge;
  if (!factorise(kernel, pool)) return false;
  const Matrix inverse = inverse_transposed(kernel, pool);  // row i: column i of L^-1
  Matrix whitened(categories, n);
  for (int c = 0; c < categories; ++c) {
    for (int i = 0; i < n; ++i) {
      const float target = targets.at(i, c);
      for (int k = i; k < n; ++k) whitened.at(c, k) += target * inverse.at(i, k);
    }
  }
  solution.coefficients = product_transposed(inverse, whitened, pool);
  solution.held_out = Matrix(n, categories);
  const std::vector<float> diagonal = squares_of(inverse);
  for (int i = 0; i < n; ++i) {
    for (int c = 0; c < categories; ++c) {
      solution.held_out.at(i, c) = targets.at(i, c) - solution.coefficients.at(i, c) / diagonal[i];
    }
  }
  return true;
}

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

template <class T>
std::vector<T> picked(const std::vector<T>& items, const std::vector<int>& indices) {
  std::vector<T> out;
  for (const int index : indices) out.push_back(items[index]);
  return out;
}

/// The mean squared distance within each group; 0 for a group that does not vary.
std::vector<Matrix> group_distances(const std::vector<Features>& samples, Weights& scales,
                                    core::WorkerPool& pool) {
  std::vector<Matrix> all;
  for (int g = 0; g < kFeatureGroups; ++g) {
    Weights single(kFeatureGroups);
    single[g] = 1;
    const Matrix features = weighted(samples, single);
    const std::vector<float> squares = squares_of(features);
    all.push_back(distances(features, squares, features, squares, pool));
    double sum = 0;
    const int n = all.back().rows();
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) sum += all.back().at(i, j);
    }
    const double mean = sum / (static_cast<double>(n) * std::max(1, n - 1));
    scales.push_back(mean > 1e-9 ? static_cast<float>(1 / mean) : 0.0f);
  }
  return all;
}

struct Choice {
  Weights weights = Weights(kFeatureGroups);
  float ridge = kRidges[1];
};

/// The mix of groups, width and ridge with the lowest leave-one-out error on a share of the
/// samples.
Choice choose(const std::vector<Features>& all_samples, const std::vector<int>& all_labels,
              int categories, core::WorkerPool& pool) {
  std::vector<int> indices(all_samples.size());
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<int>(i);
  core::Random random({0x6B65726Eu});
  random.shuffle(indices);
  indices.resize(std::min<std::size_t>(indices.size(), kSelectionSamples));
  const std::vector<int> labels = picked(all_labels, indices);
  Weights scales, offsets;
  const std::vector<Matrix> groups = group_distances(picked(all_samples, indices), scales, pool);
  const Matrix targets = targets_of(labels, categories, offsets);
  Choice best;
  double best_error = std::numeric_limits<double>::max();
  for (const auto& mix : kMixes) {
    float total = 0;
    for (int g = 0; g < kFeatureGroups; ++g) total += scales[g] > 0 ? mix[g] : 0;
    if (!(total > 0)) continue;
    for (const float width : kWidths) {
      Choice choice;
      Matrix kernel(targets.rows(), targets.rows());
      for (int g = 0; g < kFeatureGroups; ++g) {
        choice.weights[g] = width * mix[g] / total * scales[g];
        for (int i = 0; i < kernel.rows() && choice.weights[g] > 0; ++i) {
          for (int j = 0; j < kernel.rows(); ++j) {
            kernel.at(i, j) += choice.weights[g] * groups[g].at(i, j);
          }
        }
      }
      to_kernel(kernel, pool);
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

}  // namespace

KernelMachine KernelMachine::learn(const std::vector<Features>& samples,
                                   const std::vector<int>& labels, int categories,
                                   core::WorkerPool& pool, Matrix& held_out) {
  KernelMachine machine;
  const Choice choice = choose(samples, labels, categories, pool);
  machine.group_weights_ = choice.weights;
  machine.landmarks_ = weighted(samples, choice.weights);
  machine.squares_ = squares_of(machine.landmarks_);
  Matrix kernel =
      distances(machine.landmarks_, machine.squares_, machine.landmarks_, machine.squares_, pool);
  to_kernel(kernel, pool);
  const Matrix targets = targets_of(labels, categories, machine.offsets_);
  Solution solution;
  // Identical samples make the kernel singular; a larger ridge always helps.
  machine.ridge_ = choice.ridge;
  while (!solve(kernel, machine.ridge_, targets, pool, solution)) machine.ridge_ *= 4;
  machine.coefficients_ = std::move(solution.coefficients);
  held_out = std::move(solution.held_out);
  for (int i = 0; i < held_out.rows(); ++i) {
    for (int c = 0; c < categories; ++c) held_out.at(i, c) += machine.offsets_[c];
  }
  return machine;
}

Matrix KernelMachine::scores(const std::vector<Features>& samples, core::WorkerPool& pool) const {
  const Matrix features = weighted(samples, group_weights_);
  Matrix kernel = distances(features, squares_of(features), landmarks_, squares_, pool);
  to_kernel(kernel, pool);
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
  writer.floats(group_weights_.data(), kFeatureGroups);
  writer.f32(ridge_);
  writer.floats(offsets_.data(), offsets_.size());
  for (int i = 0; i < coefficients_.rows(); ++i) {
    writer.floats(coefficients_.row(i), coefficients_.columns());
  }
}

KernelMachine KernelMachine::read(core::ByteReader& reader, const std::vector<Features>& landmarks,
                                  int categories) {
  KernelMachine machine;
  machine.group_weights_ = reader.floats("kernel weights", kFeatureGroups);
  bool any = false;
  for (const float weight : machine.group_weights_) {
    if (weight < 0) throw core::malformed_bytes("kernel weights: a weight is negative");
    any = any || weight > 0;
  }
  if (!any || landmarks.empty()) throw core::malformed_bytes("kernel machine: nothing to weigh");
  machine.ridge_ = reader.f32("ridge");
  machine.offsets_ = reader.floats("kernel offsets", categories);
  machine.coefficients_ = Matrix(static_cast<int>(landmarks.size()), categories);
  for (int i = 0; i < machine.coefficients_.rows(); ++i) {
    reader.floats("kernel coefficients", machine.coefficients_.row(i), categories);
  }
  machine.landmarks_ = weighted(landmarks, machine.group_weights_);
  machine.squares_ = squares_of(machine.landmarks_);
  return machine;
}

}  // namespace telvar::classifier
