#include "classifier/kernel/dot_products.h"

#include <utility>

// Scalable vectors have no size known to the compiler, as arrays of sums need; processors with SVE
// have NEON.
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)

// Highway includes this file in itself, once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "classifier/kernel/dot_products.cpp"
#include <hwy/foreach_target.h>  // must stand before highway.h
#include <hwy/highway.h>

#include "nn/dispatch.h"

HWY_BEFORE_NAMESPACE();
namespace telvar::classifier {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, kDotLength>;
using Vector = hn::Vec<Floats>;

constexpr std::size_t kLanes = HWY_LANES(float) < kDotLength ? HWY_LANES(float) : kDotLength;
constexpr bool kManyRegisters =
    HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL || HWY_TARGET == HWY_NEON;
// A tile's sums and one step's values must fit the registers.
constexpr int kTileRows = kManyRegisters ? 4 : 3, kTileColumns = kManyRegisters ? 4 : 3;
// One row alone waits for memory: more rows of the other factor are read at once.
constexpr int kColumnsBesideOneRow = 8;

template <std::size_t kRow, std::size_t kColumns, std::size_t... kColumn, std::size_t kCount>
HWY_INLINE void add_row(Vector left, const Vector (&right)[kColumns], Vector (&sums)[kCount],
                        std::index_sequence<kColumn...> /*columns*/) {
  ((sums[kRow * kColumns + kColumn] =
        hn::MulAdd(left, right[kColumn], sums[kRow * kColumns + kColumn])),
   ...);
}

/// All dot products of a tile. Every sum has an index that is constant, so it lives in a register.
template <std::size_t kRows, std::size_t kColumns, std::size_t... kRow, std::size_t... kColumn>
HWY_INLINE void run_tile(const float* const* a, const float* const* b, std::size_t length,
                         float* out, std::index_sequence<kRow...> /*rows*/,
                         std::index_sequence<kColumn...> columns) {
  const Floats floats;
  const float* const left[kRows] = {a[kRow]...};
  const float* const right[kColumns] = {b[kColumn]...};
  Vector sums[kRows * kColumns] = {};
  for (std::size_t i = 0; i < kRows * kColumns; ++i) sums[i] = hn::Zero(floats);
  for (std::size_t k = 0; k < length; k += kLanes) {
    const Vector step[kColumns] = {hn::LoadU(floats, right[kColumn] + k)...};
    (add_row<kRow>(hn::LoadU(floats, left[kRow] + k), step, sums, columns), ...);
  }
  for (std::size_t i = 0; i < kRows * kColumns; ++i) {
    out[i] = hn::GetLane(hn::SumOfLanes(floats, sums[i]));
  }
}

/// `kRows` rows of a, from `first` on, with all rows of b, the last of which fills its last tile.
template <int kRows, int kColumns>
HWY_NOINLINE void run_rows(const Rows& a, int first, const Rows& b, std::size_t length, float* out,
                           std::size_t out_stride) {
  const float *left[kRows], *right[kColumns];
  for (int i = 0; i < kRows; ++i) left[i] = a.values + a.stride * (first + i);
  for (int j = 0; j < b.count; j += kColumns) {
    for (int k = 0; k < kColumns; ++k) {
      right[k] = b.values + b.stride * (j + k < b.count ? j + k : b.count - 1);
    }
    float tile[kRows * kColumns];
    run_tile<kRows, kColumns>(left, right, length, tile, std::make_index_sequence<kRows>(),
                              std::make_index_sequence<kColumns>());
    for (int i = 0; i < kRows; ++i) {
      float* const to = out + out_stride * (first + i) + j;
      for (int k = 0; k < kColumns && j + k < b.count; ++k) to[k] = tile[i * kColumns + k];
    }
  }
}

void run(const Rows& a, const Rows& b, std::size_t length, float* out, std::size_t out_stride) {
  int first = 0;
  for (; first + kTileRows <= a.count; first += kTileRows) {
    run_rows<kTileRows, kTileColumns>(a, first, b, length, out, out_stride);
  }
  for (; first < a.count; ++first) {
    run_rows<1, kColumnsBesideOneRow>(a, first, b, length, out, out_stride);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace telvar::classifier
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace telvar::classifier {

void dot_products(const Rows& a, const Rows& b, std::size_t length, float* out,
                  std::size_t out_stride) {
  TELVAR_FOR_PROCESSOR(run)(a, b, length, out, out_stride);
}

}  // namespace telvar::classifier
#endif
