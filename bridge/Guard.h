#pragma once

// The one place where engine exceptions become library exceptions.

#include <array>
#include <string>

#include "telvar/exceptions.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// One row of the mapping: what an engine exception of some type, or derived from it, becomes.
struct QvExceptionMapping {
  const char* engineException;   // in telvar::types
  const char* libraryException;  // in Orbalt::TelvarWrapper
  bool (*matches)(const telvar::types::exception& e);
  void (*raise)(const std::string& message);  // always throws the library exception
};

/// The rows in the order in which they are tried; the first that matches decides. Whatever matches
/// none becomes InvalidOperationException.
extern const std::array<QvExceptionMapping, 14> kQvExceptionMappings;

/// Throws the library exception that the mapping gives for `e`, with the text of `e`.
[[noreturn]] void MapQvExceptionAndThrow(const telvar::types::exception& e);

/// Calls `call` once and returns what it returns. An engine exception leaves as the library
/// exception it maps to; every other exception passes unchanged. Safe on any thread.
template <class F>
auto TryQvCallWithReturn(F call) -> decltype(call()) {
  try {
    return call();
  } catch (const telvar::types::exception& e) {
    MapQvExceptionAndThrow(e);
  }
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
