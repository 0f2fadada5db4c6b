#pragma once

// Keeps the numeric libraries on the calling thread.

namespace telvar::core {

/// While it lives, tensor, BLAS and OpenMP work of the calling thread stays on that thread, and
/// numbers too small to be normal count as zero, whatever the host or the environment set. Restores
/// both. Put one around every use of the tensor library outside WorkerPool::run,
/// and none around a host's callback.
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
