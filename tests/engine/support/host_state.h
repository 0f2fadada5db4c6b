#pragma once

// What a host has set on its own thread, which a callback must find as it was.

#include "core/openmp.h"

namespace telvar::test {

/// Gives the calling thread a number of OpenMP threads of its own while it lives.
class HostState {
 public:
  HostState() : threads_(omp_get_max_threads()) { omp_set_num_threads(kThreads); }
  ~HostState() { omp_set_num_threads(threads_); }

  /// Whether OpenMP and the smallest numbers work as the host has set them.
  static bool is_kept() {
    const volatile float tiny = 1e-39f;
    return omp_get_max_threads() == kThreads && tiny * 0.5f != 0;
  }

 private:
  static constexpr int kThreads = 3;
  int threads_;
};

}  // namespace telvar::test
