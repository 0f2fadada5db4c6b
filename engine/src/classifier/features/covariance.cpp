#include "classifier/features/covariance.h"

#include <Eigen/Core>
#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "classifier/kernel/dot_products.h"
#include "classifier/kernel/matrix.h"

namespace telvar::classifier {
namespace {

// The bank, at each of three scales: second differences in four directions, magnitudes of first
// ones, and what the next blur takes away. Dihedral transforms only exchange directions.
constexpr int kScales = 3, kDirections = 4;
constexpr int kOfScale = 2 * kDirections + 1, kResponses = kScales * kOfScale;
constexpr int kDx[kDirections] = {1, 1, 0, -1}, kDy[kDirections] = {0, 1, 1, 1};
constexpr int kSteps[kScales] = {1, 1, 2};  // px, between the pixels of a difference

// Added to the covariances of responses' roots, so that noise below a thousandth of white is none.
constexpr float kFloor = 1e-3f;
// Contrast scales all responses: so much of it is taken out. Chosen with the floor and the bank on
// textures and letters, ten a class.
constexpr float kContrastTaken = 0.8f;

struct Plane {
  int width, height;
  std::vector<float> values;

  const float* row(int y) const {
    return values.data() + static_cast<std::size_t>(std::clamp(y, 0, height - 1)) * width;
  }
};

/// For each x of a row: x + shift, kept inside.
std::vector<int> shifted_columns(int width, int shift) {
  std::vector<int> columns(width);
  for (int x = 0; x < width; ++x) columns[x] = std::clamp(x + shift, 0, width - 1);
  return columns;
}

/// Two pixels further and their neighbours, `step` apart, by binomial weights.
float binomial(float outer, float inner, float centre) {
  return (outer + 4 * inner + 6 * centre) / 16;
}

Plane blurred(const Plane& plane, int step) {
  Plane across = plane, out = plane;
  std::vector<int> at[5];
  for (int k = 0; k < 5; ++k) at[k] = shifted_columns(plane.width, (k - 2) * step);
  float* to = across.values.data();
  for (int y = 0; y < plane.height; ++y) {
    const float* const row = plane.row(y);
    for (int x = 0; x < plane.width; ++x) {
      *to++ = binomial(row[at[0][x]] + row[at[4][x]], row[at[1][x]] + row[at[3][x]], row[x]);
    }
  }
  to = out.values.data();
  for (int y = 0; y < plane.height; ++y) {
    const float* rows[5];
    for (int k = 0; k < 5; ++k) rows[k] = across.row(y + (k - 2) * step);
    for (int x = 0; x < plane.width; ++x) {
      *to++ = binomial(rows[0][x] + rows[4][x], rows[1][x] + rows[3][x], rows[2][x]);
    }
  }
  return out;
}

/// A root that keeps the sign: strong edges must not drown the rest.
float signed_root(float value) {
  return std::copysign(std::sqrt(std::abs(value)), value);
}

/// Second differences and magnitudes of first ones, into two rows of responses.
void differences(const Plane& plane, int direction, int step, float* second, float* first) {
  const int dx = step * kDx[direction], dy = step * kDy[direction];
  const std::vector<int> ahead = shifted_columns(plane.width, dx);
  const std::vector<int> behind = shifted_columns(plane.width, -dx);
  for (int y = 0; y < plane.height; ++y) {
    const float* const centre = plane.row(y);
    const float *const next = plane.row(y + dy), *const last = plane.row(y - dy);
    for (int x = 0; x < plane.width; ++x) {
      const float a = next[ahead[x]], b = last[behind[x]];
      *second++ = signed_root(a + b - 2 * centre[x]);
      *first++ = std::sqrt(std::abs(a - b));
    }
  }
}

/// Responses x pixels.
Matrix responses_of(const core::Raster& gray) {
  const auto pixels = static_cast<int>(gray.plane_size());
  Plane plane{gray.width, gray.height, {gray.plane(0), gray.plane(0) + pixels}};
  plane = blurred(plane, 1);
  Matrix responses(kResponses, pixels);
  for (int scale = 0; scale < kScales; ++scale) {
    const int row = scale * kOfScale;
    for (int d = 0; d < kDirections; ++d) {
      differences(plane, d, kSteps[scale], responses.row(row + d),
                  responses.row(row + kDirections + d));
    }
    const Plane next = blurred(plane, 1 << scale);
    float* const band = responses.row(row + 2 * kDirections);
    for (int i = 0; i < pixels; ++i) band[i] = signed_root(plane.values[i] - next.values[i]);
    plane = next;
  }
  return responses;
}

void centre(Matrix& responses) {
  for (int i = 0; i < responses.rows(); ++i) {
    double sum = 0;
    float* const row = responses.row(i);
    for (int k = 0; k < responses.columns(); ++k) sum += row[k];
    const auto mean = static_cast<float>(sum / responses.columns());
    for (int k = 0; k < responses.columns(); ++k) row[k] -= mean;
  }
}

using Square = Eigen::Matrix<float, kResponses, kResponses, Eigen::RowMajor>;

Square logarithm(const Square& covariance) {
  const Eigen::SelfAdjointEigenSolver<Square> solver(covariance);
  const auto logarithms = solver.eigenvalues().array().max(kFloor / 2).log().matrix();
  return solver.eigenvectors() * logarithms.asDiagonal() * solver.eigenvectors().transpose();
}

constexpr int triangle_place(int i, int j) {
  return i > j ? triangle_place(j, i) : i * kResponses - i * (i - 1) / 2 + j - i;
}

int response_before(const DihedralTransform& transform, int response) {
  const int place = response % kOfScale;
  if (place == 2 * kDirections) return response;
  int direction = place % kDirections;
  if (transform.turns_sideways()) direction = (direction + 2) % kDirections;
  if (transform.mirrored) direction = (kDirections - direction) % kDirections;
  return response - place % kDirections + direction;
}

}  // namespace

std::vector<float> covariance_of(const core::Raster& gray) {
  Matrix responses = responses_of(gray);
  centre(responses);
  Square covariance;
  const Rows rows{responses.row(0), responses.stride(), kResponses};
  dot_products(rows, rows, responses.stride(), covariance.data(), kResponses);
  covariance /= static_cast<float>(responses.columns());
  covariance.diagonal().array() += kFloor;
  Square log = logarithm(covariance);
  log.diagonal().array() -= kContrastTaken * log.trace() / kResponses;
  std::vector<float> values;
  for (int i = 0; i < kResponses; ++i) {
    // Off the diagonal a value stands for two.
    for (int j = i; j < kResponses; ++j)
      values.push_back(log(i, j) * (i == j ? 1 : std::sqrt(2.f)));
  }
  return values;
}

std::vector<int> covariance_order(const DihedralTransform& transform) {
  std::vector<int> order;
  for (int i = 0; i < kResponses; ++i) {
    for (int j = i; j < kResponses; ++j) {
      order.push_back(triangle_place(response_before(transform, i), response_before(transform, j)));
    }
  }
  return order;
}

}  // namespace telvar::classifier
