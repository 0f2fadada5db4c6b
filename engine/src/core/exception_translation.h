#pragma once

// The boundary behind which the libraries' own exceptions stay.
//
//   return core::translated("training the classifier", [&] {
//     return train_guarded(..., core::passing(loader));
//   });

#include <functional>
#include <utility>

namespace telvar::core {

/// To be called inside a catch block: rethrows the current exception. Those of the tensor library
/// and of oneDNN become types::exception with a text that starts with `activity`, or std::bad_alloc
/// when they ran out of memory; everything else passes unchanged.
[[noreturn]] void rethrow_translated(const char* activity);

/// To be called inside a catch block: rethrows the current exception such that rethrow_translated
/// lets it pass unchanged, whatever it is.
[[noreturn]] void rethrow_passing();

/// Calls `work` and returns what it returns; exceptions as rethrow_translated says.
template <class F>
auto translated(const char* activity, F&& work) {
  try {
    return std::forward<F>(work)();
  } catch (...) {
    rethrow_translated(activity);
  }
}

/// A host's callback, as it is to be called inside `translated`: the host may use the same
/// libraries as we do, and what leaves its callback is its own. `callback` must outlive what is
/// returned.
template <class Result, class... Arguments>
std::function<Result(Arguments...)> passing(const std::function<Result(Arguments...)>& callback) {
  return [&callback](Arguments... arguments) -> Result {
    try {
      return callback(std::forward<Arguments>(arguments)...);
    } catch (...) {
      rethrow_passing();
    }
  };
}

}  // namespace telvar::core
