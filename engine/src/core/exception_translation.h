#pragma once

// The boundary behind which the libraries' own exceptions stay.
//
//   return core::translated("training the classifier", [&] { return train_guarded(...); });

#include <utility>

namespace telvar::core {

/// To be called inside a catch block: rethrows the current exception. Those of the tensor and image
/// libraries become types::exception with a text that starts with `activity`, or std::bad_alloc
/// when they ran out of memory; everything else passes unchanged.
[[noreturn]] void rethrow_translated(const char* activity);

/// Calls `work` and returns what it returns; exceptions as rethrow_translated says.
template <class F>
auto translated(const char* activity, F&& work) {
  try {
    return std::forward<F>(work)();
  } catch (...) {
    rethrow_translated(activity);
  }
}

}  // namespace telvar::core
