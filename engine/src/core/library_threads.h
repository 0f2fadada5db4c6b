#pragma once

// Keeps the numeric libraries on the calling thread.

namespace telvar::core {

/// While it lives, OpenMP work of the calling thread stays on that thread, and numbers are computed
/// in the default way (rounded to nearest; too small to be normal counts as zero), whatever the
/// host or the environment set. Restores both. Put one around every use of the engine's kernels
/// outside WorkerPool::run, and none around a host's callback.
class LibraryThreadScope {
 public:
  LibraryThreadScope();
  LibraryThreadScope(const LibraryThreadScope&) = delete;
  LibraryThreadScope& operator=(const LibraryThreadScope&) = delete;
  ~LibraryThreadScope();

 private:
  int threads_;
  unsigned control_;
};

}  // namespace telvar::core
