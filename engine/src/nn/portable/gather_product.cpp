#include "nn/portable/gather_product.h"

#include <utility>

// Processors without SSE4 are too few to be worth a kernel between it and the scalar one; SVE has
// no vectors of known size, and its processors have NEON.
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)

// Highway includes this file in itself, once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "nn/portable/gather_product.cpp"
#include <hwy/foreach_target.h>  // must stand before highway.h
#include <hwy/highway.h>

#include "nn/dispatch.h"
#include "nn/vector_numbers-inl.h"

HWY_BEFORE_NAMESPACE();
namespace telvar::nn::portable {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
namespace numbers = nn::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Vector = hn::Vec<Floats>;

constexpr std::size_t kLanes = HWY_LANES(float);
/// Whether there are 32 vector registers; elsewhere there are 16.
constexpr bool kManyRegisters =
    HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL || HWY_TARGET == HWY_NEON;
/// Whether masked loads and stores leave the other lanes' memory alone.
constexpr bool kMasksMemory = HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2;
constexpr std::size_t kMaxVectors = kManyRegisters ? 4 : 2;

/// How many rows a tile of so many vectors has. Its sums, one row of the matrix and one value fill
/// the registers, and there are enough sums to hide the latency of a multiplication and addition.
constexpr std::size_t tile_rows(std::size_t vectors) {
  return vectors == kMaxVectors ? 6 : 8;
}

/// The sums of a tile, row by row. Every index into it is a constant, so it lives in registers.
template <std::size_t kRows, std::size_t kVectors>
using Sums = Vector[kRows * kVectors];

template <std::size_t kRow, std::size_t kVectors, std::size_t... kColumn, std::size_t kCount>
HWY_INLINE void add_row(Vector value, const Vector (&matrix)[kVectors], Vector (&sums)[kCount],
                        std::index_sequence<kColumn...> /*columns*/) {
  ((sums[kRow * kVectors + kColumn] =
        hn::MulAdd(value, matrix[kColumn], sums[kRow * kVectors + kColumn])),
   ...);
}

template <std::size_t kRow, std::size_t kVectors, std::size_t... kColumn, std::size_t kCount>
HWY_INLINE void start_row(const Vector (&initial)[kVectors], Vector (&sums)[kCount],
                          std::index_sequence<kColumn...> /*columns*/) {
  ((sums[kRow * kVectors + kColumn] = initial[kColumn]), ...);
}

/// Adds the products of one tile. `rows` has an offset for each of its rows, `matrix` is the first
/// row of the block, and `step` the distance of its rows.
template <std::size_t kRows, std::size_t kVectors, std::size_t... kRow, std::size_t... kColumn>
HWY_INLINE void add_products(const GatherProduct& product, const std::int32_t* rows,
                             const float* HWY_RESTRICT matrix, std::size_t step,
                             Sums<kRows, kVectors>& sums, std::index_sequence<kRow...> /*rows*/,
                             std::index_sequence<kColumn...> columns) {
  const Floats floats;
  const float* const values[kRows] = {product.values + rows[kRow]...};
  const std::int32_t* HWY_RESTRICT depth_offsets = product.depth_offsets;
  const std::ptrdiff_t depth = product.depth;
  for (std::ptrdiff_t k = 0; k < depth; ++k) {
    const std::ptrdiff_t at = depth_offsets[k];
    const Vector row[kVectors] = {hn::LoadU(floats, matrix + kColumn * kLanes)...};
    (add_row<kRow>(hn::Set(floats, values[kRow][at]), row, sums, columns), ...);
    matrix += step;
  }
}

HWY_INLINE Vector load(Number number, const void* from, std::size_t index) {
  const Floats floats;
  return number == Number::kFloat
             ? numbers::load(floats, static_cast<const float*>(from) + index)
             : numbers::load(floats, static_cast<const bfloat16*>(from) + index);
}

HWY_INLINE void store(Vector value, Number number, void* to, std::size_t index) {
  const Floats floats;
  if (number == Number::kFloat) {
    numbers::store(floats, value, static_cast<float*>(to) + index);
  } else {
    numbers::store(floats, value, static_cast<bfloat16*>(to) + index);
  }
}

HWY_INLINE Vector finish(const GatherProduct& product, Vector sum, Vector addend) {
  sum = hn::Add(sum, addend);
  return product.relu ? hn::Max(sum, hn::Zero(Floats())) : sum;
}

/// Stores a whole vector.
HWY_INLINE void store_whole(const GatherProduct& product, Vector sum, std::size_t index) {
  Vector addend = hn::Zero(Floats());
  if (product.addend != nullptr) addend = load(product.addend_number, product.addend, index);
  store(finish(product, sum, addend), product.result_number, product.result, index);
}

/// Stores `count` sums one by one.
HWY_NOINLINE void store_singly(const GatherProduct& product, const float* sums, std::size_t index,
                               std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    float value = sums[i];
    if (product.addend != nullptr) {
      value += product.addend_number == Number::kFloat
                   ? static_cast<const float*>(product.addend)[index + i]
                   : to_float(static_cast<const bfloat16*>(product.addend)[index + i]);
    }
    if (product.relu && value < 0) value = 0;
    if (product.result_number == Number::kFloat) {
      static_cast<float*>(product.result)[index + i] = value;
    } else {
      static_cast<bfloat16*>(product.result)[index + i] = to_bfloat16(value);
    }
  }
}

/// Stores the first `count` lanes of a vector and touches nothing behind them.
HWY_INLINE void store_part(const GatherProduct& product, Vector sum, std::size_t index,
                           std::size_t count) {
  const Floats floats;
  if (kMasksMemory && product.addend == nullptr && product.result_number == Number::kFloat) {
    hn::BlendedStore(finish(product, sum, hn::Zero(floats)), hn::FirstN(floats, count), floats,
                     static_cast<float*>(product.result) + index);
    return;
  }
  float sums[kLanes];
  hn::StoreU(sum, floats, sums);
  store_singly(product, sums, index, count);
}

template <std::size_t kRow, std::size_t kVectors, std::size_t... kColumn, std::size_t kCount>
HWY_INLINE void store_row(const GatherProduct& product, const Vector (&sums)[kCount],
                          std::size_t row, std::size_t begin,
                          std::index_sequence<kColumn...> /*columns*/) {
  if (row >= product.rows) return;
  const std::size_t index = static_cast<std::size_t>(product.result_offsets[row]) + begin;
  if (begin + kVectors * kLanes <= product.columns) {
    (store_whole(product, sums[kRow * kVectors + kColumn], index + kColumn * kLanes), ...);
    return;
  }
  // Only the last vector of the last block can be incomplete.
  ((kColumn + 1 < kVectors
        ? store_whole(product, sums[kRow * kVectors + kColumn], index + kColumn * kLanes)
        : store_part(product, sums[kRow * kVectors + kColumn], index + kColumn * kLanes,
                     product.columns - begin - kColumn * kLanes)),
   ...);
}

template <std::size_t kRows, std::size_t kVectors, std::size_t... kRow, std::size_t... kColumn>
HWY_INLINE void run_tile(const GatherProduct& product, std::size_t first_row, std::size_t begin,
                         const float* matrix, std::size_t step,
                         std::index_sequence<kRow...> row_indices,
                         std::index_sequence<kColumn...> columns) {
  const Floats floats;
  // Rows behind the last repeat it; they are not stored.
  const std::size_t last = product.rows - 1;
  const std::int32_t rows[kRows] = {
      product.row_offsets[first_row + kRow < last ? first_row + kRow : last]...};
  const Vector initial[kVectors] = {
      product.initial == nullptr
          ? hn::Zero(floats)
          : hn::LoadU(floats, product.initial + begin + kColumn * kLanes)...};
  Sums<kRows, kVectors> sums = {};
  (start_row<kRow>(initial, sums, columns), ...);
  add_products<kRows, kVectors>(product, rows, matrix, step, sums, row_indices, columns);
  (store_row<kRow, kVectors>(product, sums, first_row + kRow, begin, columns), ...);
}

template <std::size_t kVectors>
HWY_NOINLINE void run_block(const GatherProduct& product, std::size_t begin, const float* matrix,
                            std::size_t step) {
  constexpr std::size_t kRows = tile_rows(kVectors);
  for (std::size_t row = 0; row < product.rows; row += kRows) {
    run_tile<kRows, kVectors>(product, row, begin, matrix, step, std::make_index_sequence<kRows>(),
                              std::make_index_sequence<kVectors>());
  }
}

void run(const GatherProduct& product);

const ProductKernel kKernel = {kLanes, kMaxVectors, run};

void run(const GatherProduct& product) {
  const std::size_t blocks = kKernel.blocks(product.columns);
  for (std::size_t block = 0; block < blocks; ++block) {
    const std::size_t begin = kKernel.block_begin(product.columns, block);
    const std::size_t width = kKernel.block_begin(product.columns, block + 1) - begin;
    const bool packed = product.order == MatrixOrder::kBlocks;
    const std::size_t step = packed ? width : kKernel.padded(product.columns);
    const float* matrix = product.matrix + (packed ? begin * product.depth : begin);
    const std::size_t vectors = width / kLanes;
    if (vectors == 1) run_block<1>(product, begin, matrix, step);
    if (vectors == 2) run_block<2>(product, begin, matrix, step);
    if constexpr (kMaxVectors > 2) {
      if (vectors == 3) run_block<3>(product, begin, matrix, step);
      if (vectors == 4) run_block<4>(product, begin, matrix, step);
    }
  }
}

const ProductKernel* kernel() {
  return &kKernel;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace telvar::nn::portable
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace telvar::nn::portable {

const ProductKernel& product_kernel() {
  return *TELVAR_FOR_PROCESSOR(kernel)();
}

}  // namespace telvar::nn::portable
#endif
