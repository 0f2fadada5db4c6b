#include "classifier/dense.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace telvar::classifier {
namespace {

#if defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The loader picks the widest form that the processor has.
#define TELVAR_WIDEST __attribute__((target_clones("avx512f", "arch=haswell", "default")))
#else
#define TELVAR_WIDEST
#endif

constexpr int kTile = 4;
constexpr int kLanes = 16;
constexpr int kBlock = 64;

/// out[4 i + j] = dot product of a[i] and b[j] over `length` values, a multiple of 16.
TELVAR_WIDEST void dot_tile(const float* const* a, const float* const* b, std::size_t length,
                            float* out) {
  typedef float Lanes __attribute__((vector_size(kLanes * sizeof(float)), aligned(4)));
  Lanes sums[kTile][kTile] = {};
  for (std::size_t k = 0; k < length; k += kLanes) {
    Lanes left[kTile], right[kTile];
    for (int i = 0; i < kTile; ++i) {
      std::memcpy(&left[i], a[i] + k, sizeof(Lanes));
      std::memcpy(&right[i], b[i] + k, sizeof(Lanes));
    }
    for (int i = 0; i < kTile; ++i) {
      for (int j = 0; j < kTile; ++j) sums[i][j] += left[i] * right[j];
    }
  }
  for (int i = 0; i < kTile; ++i) {
    for (int j = 0; j < kTile; ++j) {
      float sum = 0;
      for (int lane = 0; lane < kLanes; ++lane) sum += sums[i][j][lane];
      out[i * kTile + j] = sum;
    }
  }
}

std::size_t padded(int length) {
  return (static_cast<std::size_t>(length) + 15) / 16 * 16;
}

/// The rows of a tile; beyond the last one, that one again.
void point_at(const Matrix& matrix, int first, int last, const float** rows) {
  for (int i = 0; i < kTile; ++i) rows[i] = matrix.row(std::min(first + i, last - 1));
}

/// Calls take(i, j, dot) for rows i of a in [i0, i1) and rows j of b in [j0, j1), over the first
/// `length` columns; beyond it, up to the next multiple of 16, one of the factors must be zero.
template <class Take>
void dots(const Matrix& a, int i0, int i1, const Matrix& b, int j0, int j1, int length,
          const Take& take) {
  const float *left[kTile], *right[kTile];
  float out[kTile * kTile];
  for (int i = i0; i < i1; i += kTile) {
    point_at(a, i, i1, left);
    for (int j = j0; j < j1; j += kTile) {
      point_at(b, j, j1, right);
      dot_tile(left, right, padded(length), out);
      for (int r = 0; r < std::min(kTile, i1 - i); ++r) {
        for (int c = 0; c < std::min(kTile, j1 - j); ++c) take(i + r, j + c, out[r * kTile + c]);
      }
    }
  }
}

int blocks_of(int count) {
  return (count + kBlock - 1) / kBlock;
}

}  // namespace

Matrix product_transposed(const Matrix& a, const Matrix& b, core::WorkerPool& pool) {
  Matrix product(a.rows(), b.rows());
  const int across = blocks_of(b.rows());
  pool.run(blocks_of(a.rows()) * across, [&](int block) {
    const int i0 = block / across * kBlock, j0 = block % across * kBlock;
    dots(a, i0, std::min(a.rows(), i0 + kBlock), b, j0, std::min(b.rows(), j0 + kBlock),
         a.columns(), [&](int i, int j, float dot) { product.at(i, j) = dot; });
  });
  return product;
}

bool factorise(Matrix& matrix, core::WorkerPool& pool) {
  const int n = matrix.rows();
  for (int i = 0; i < n; ++i) {
    std::fill(matrix.row(i) + i + 1, matrix.row(i) + matrix.stride(), 0.0f);
  }
  for (int j0 = 0; j0 < n; j0 += kBlock) {
    const int j1 = std::min(n, j0 + kBlock);
    // Everything left of the panel is final: subtract its part from the whole panel.
    pool.run(blocks_of(n - j0), [&](int block) {
      const int i0 = j0 + block * kBlock, i1 = std::min(n, i0 + kBlock);
      if (j0 == 0) return;
      dots(matrix, i0, i1, matrix, j0, j1, j0, [&](int i, int j, float dot) {
        if (j <= i) matrix.at(i, j) -= dot;
      });
    });
    for (int j = j0; j < j1; ++j) {
      double pivot = matrix.at(j, j);
      for (int k = j0; k < j; ++k) pivot -= static_cast<double>(matrix.at(j, k)) * matrix.at(j, k);
      if (!(pivot > 0)) return false;
      matrix.at(j, j) = static_cast<float>(std::sqrt(pivot));
      for (int i = j + 1; i < j1; ++i) {
        float sum = matrix.at(i, j);
        for (int k = j0; k < j; ++k) sum -= matrix.at(i, k) * matrix.at(j, k);
        matrix.at(i, j) = sum / matrix.at(j, j);
      }
    }
    pool.run(blocks_of(n - j1), [&](int block) {
      const int i0 = j1 + block * kBlock, i1 = std::min(n, i0 + kBlock);
      for (int i = i0; i < i1; ++i) {
        for (int j = j0; j < j1; ++j) {
          float sum = matrix.at(i, j);
          for (int k = j0; k < j; ++k) sum -= matrix.at(i, k) * matrix.at(j, k);
          matrix.at(i, j) = sum / matrix.at(j, j);
        }
      }
    });
  }
  return true;
}

Matrix inverse_transposed(const Matrix& lower, core::WorkerPool& pool) {
  // Row c of the result is column c of the inverse: forward substitution of a unit vector. A block
  // of columns goes together, so that the bulk is dot products of rows.
  const int n = lower.rows();
  Matrix inverse(n, n);
  pool.run(blocks_of(n), [&](int block) {
    const int c0 = block * kBlock, c1 = std::min(n, c0 + kBlock);
    for (int c = c0; c < c1; ++c) inverse.at(c, c) = 1;
    for (int i0 = c0; i0 < n; i0 += kBlock) {
      const int i1 = std::min(n, i0 + kBlock);
      if (i0 > c0) {
        dots(inverse, c0, c1, lower, i0, i1, i0,
             [&](int c, int i, float dot) { inverse.at(c, i) -= dot; });
      }
      for (int c = c0; c < c1; ++c) {
        for (int i = i0; i < i1; ++i) {
          float sum = inverse.at(c, i);
          for (int k = i0; k < i; ++k) sum -= lower.at(i, k) * inverse.at(c, k);
          inverse.at(c, i) = sum / lower.at(i, i);
        }
      }
    }
  });
  return inverse;
}

}  // namespace telvar::classifier
