#pragma once

// Elements of tensors of either number, addressed by their index.

#include <algorithm>
#include <cstddef>

#include "nn/number.h"

namespace telvar::nn::portable {

inline void* element(void* tensor, Number number, std::size_t index) {
  return static_cast<char*>(tensor) + index * size_of(number);
}

inline const void* element(const void* tensor, Number number, std::size_t index) {
  return static_cast<const char*>(tensor) + index * size_of(number);
}

/// Copies `count` elements from the one of index `from` on.
inline void copy_numbers(Number number, const void* tensor, std::size_t from, std::size_t count,
                         float* to) {
  const void* begin = element(tensor, number, from);
  if (number == Number::kFloat) {
    std::copy_n(static_cast<const float*>(begin), count, to);
  } else {
    std::transform(static_cast<const bfloat16*>(begin), static_cast<const bfloat16*>(begin) + count,
                   to, to_float);
  }
}

}  // namespace telvar::nn::portable
