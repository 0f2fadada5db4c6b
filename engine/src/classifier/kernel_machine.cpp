#include "classifier/kernel_machine.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "classifier/limits.h"

namespace telvar::classifier {
namespace {

// Shares of the groups in the squared distance: coarse and fine shape, pixels, texture, colour.
constexpr float kMixes[][kFeatureGroups] = {
    {.50f, .50f, 0, 0, 0},          {.35f, .35f, .30f, 0, 0},       {.20f, .20f, .60f, 0, 0},
    {.25f, .25f, .20f, .15f, .15f}, {.15f, .15f, .10f, .30f, .30f}, {0, 0, 0, .5f, .5f}};
constexpr float kWidths[] = {0.4f, 0.8f, 1.6f};  // of the mean squared distance, inverted
constexpr float kRidges[] = {0.01f, 0.1f, 0.5f};

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
  Matrix inverse;  // row i: column i of the inverted Cholesky factor
};

/// Solves (kernel + ridge I) a = targets. False when the kernel is too close to singular.
bool solve(Matrix kernel, float ridge, const Matrix& targets, core::WorkerPool& pool,
           Solution& solution) {
  const int n = kernel.rows(), categories = targets.columns();
  for (int i = 0; i < n; ++i) kernel.at(i, i) += ridge;
  if (!factorise(kernel, pool)) return false;
  solution.inverse = inverse_transposed(kernel, pool);
  const Matrix& inverse = solution.inverse;
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

/// `solve`; identical samples can make the kernel singular, and a larger ridge always helps.
Solution solve_surely(const Matrix& kernel, float ridge, const Matrix& targets,
                      core::WorkerPool& pool) {
  Solution solution;
  while (!solve(kernel, ridge, targets, pool, solution)) ridge = 4 * ridge + 1e-3f;
  return solution;
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

}  // namespace

KernelChoice choose_kernel(const std::vector<Features>& samples, const std::vector<int>& labels,
                           int categories, core::WorkerPool& pool) {
  Weights scales, offsets;
  const std::vector<Matrix> groups = group_distances(samples, scales, pool);
  const Matrix targets = targets_of(labels, categories, offsets);
  KernelChoice best{Weights(kFeatureGroups), kRidges[1]};
  double best_error = std::numeric_limits<double>::max();
  for (const auto& mix : kMixes) {
    float total = 0;
    for (int g = 0; g < kFeatureGroups; ++g) total += scales[g] > 0 ? mix[g] : 0;
    if (!(total > 0)) continue;
    for (const float width : kWidths) {
      KernelChoice choice{Weights(kFeatureGroups), 0};
      Matrix kernel(targets.rows(), targets.rows());
      for (int g = 0; g < kFeatureGroups; ++g) {
        choice.group_weights[g] = width * mix[g] / total * scales[g];
        for (int i = 0; i < kernel.rows() && choice.group_weights[g] > 0; ++i) {
          for (int j = 0; j < kernel.rows(); ++j) {
            kernel.at(i, j) += choice.group_weights[g] * groups[g].at(i, j);
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

std::vector<double> accuracies_of_copies(const KernelChoice& choice,
                                         const std::vector<Features>& samples,
                                         const std::vector<int>& labels, int categories,
                                         const std::vector<std::vector<Features>>& copies,
                                         core::WorkerPool& pool) {
  const Matrix features = weighted(samples, choice.group_weights);
  const std::vector<float> squares = squares_of(features);
  Matrix kernel = distances(features, squares, features, squares, pool);
  to_kernel(kernel, pool);
  Weights offsets;
  const Matrix targets = targets_of(labels, categories, offsets);
  const Solution solution = solve_surely(kernel, choice.ridge, targets, pool);
  const Matrix inverse = product_transposed(solution.inverse, solution.inverse, pool);
  std::vector<double> accuracies;
  for (const auto& list : copies) {
    const Matrix changed = weighted(list, choice.group_weights);
    Matrix similarity = distances(changed, squares_of(changed), features, squares, pool);
    to_kernel(similarity, pool);
    double right = 0;
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
      right += std::max_element(scores.begin(), scores.end()) - scores.begin() == labels[i];
    }
    accuracies.push_back(right / similarity.rows());
  }
  return accuracies;
}

void KernelMachine::place_landmarks(const std::vector<std::vector<Features>>& views) {
  for (const auto& view : views) {
    landmarks_.push_back(weighted(view, choice_.group_weights));
    squares_.push_back(squares_of(landmarks_.back()));
  }
}

Matrix KernelMachine::kernel_to(const Matrix& features, core::WorkerPool& pool) const {
  const std::vector<float> squares = squares_of(features);
  Matrix mean(features.rows(), landmarks_[0].rows());
  for (std::size_t v = 0; v < landmarks_.size(); ++v) {
    Matrix kernel = distances(features, squares, landmarks_[v], squares_[v], pool);
    to_kernel(kernel, pool);
    for (int i = 0; i < mean.rows(); ++i) {
      for (int j = 0; j < mean.columns(); ++j) {
        mean.at(i, j) += kernel.at(i, j) / static_cast<float>(landmarks_.size());
      }
    }
  }
  return mean;
}

KernelMachine KernelMachine::learn(const KernelChoice& choice,
                                   const std::vector<std::vector<Features>>& views,
                                   const std::vector<int>& labels, int categories,
                                   core::WorkerPool& pool, Matrix& held_out) {
  KernelMachine machine;
  machine.choice_ = choice;
  machine.place_landmarks(views);
  Matrix kernel = machine.kernel_to(machine.landmarks_[0], pool);
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

Matrix KernelMachine::scores(const std::vector<Features>& samples, core::WorkerPool& pool) const {
  const Matrix kernel = kernel_to(weighted(samples, choice_.group_weights), pool);
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
