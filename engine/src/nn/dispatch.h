#pragma once

// Which of the functions that Highway compiled for several instruction sets this processor runs.
// To be included after <hwy/highway.h>. Highway has a choice of its own, but keeps it in a shared
// library that everybody who embeds the engine would have to load.
//
//   const auto* function = TELVAR_FOR_PROCESSOR(function);   // in the HWY_ONCE part of the file

#include <cstdint>
#include <initializer_list>
#include <utility>

namespace telvar::nn {

/// The instruction sets of this processor, as bits of Highway's targets; those of the build alone
/// are not among them. Asks the processor once.
std::int64_t supported_targets();

/// Limits supported_targets to some of them; 0: to none, -1: to all that there are. For tests, not
/// beside any other use.
void limit_targets_for_test(std::int64_t targets);

/// The first that the processor runs, or else the last resort, which every processor runs.
template <class Function>
Function choose(std::initializer_list<std::pair<std::int64_t, Function>> candidates,
                Function last_resort) {
  for (const auto& [target, function] : candidates) {
    if (function != nullptr && (supported_targets() & target) != 0) return function;
  }
  return last_resort;
}

}  // namespace telvar::nn

#define TELVAR_FOR_PROCESSOR(NAME)                            \
  ::telvar::nn::choose<decltype(&HWY_STATIC_DISPATCH(NAME))>( \
      {{HWY_AVX3, HWY_CHOOSE_AVX3(NAME)},                     \
       {HWY_AVX2, HWY_CHOOSE_AVX2(NAME)},                     \
       {HWY_SSE4, HWY_CHOOSE_SSE4(NAME)},                     \
       {HWY_SSSE3, HWY_CHOOSE_SSSE3(NAME)}},                  \
      &HWY_STATIC_DISPATCH(NAME))
