#pragma once

// A few own threads that wait on a condition variable, never spinning. No result depends on their
// number: callers split work into chunks whose number does not depend on it.
//
//   WorkerPool pool(threads_of(device));
//   pool.run(chunks, [&](int chunk) { ... });

#include <functional>
#include <memory>

#include "core/cores.h"

namespace telvar::core {

/// The most threads of one pool.
constexpr unsigned kMaxPoolThreads = 1024;

class WorkerPool {
 public:
  /// `threads` working threads at most, the calling one included, and no more than kMaxPoolThreads;
  /// 0: available_cores(). If the system refuses threads, fewer work.
  explicit WorkerPool(unsigned threads = 0);
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  /// Ends and joins its threads. In a process that fork made, which has none, it does nothing.
  ~WorkerPool();

  unsigned threads() const;

  /// Calls work(0) .. work(chunks - 1), each once, on pool and calling thread (in a process that
  /// fork made, on that alone), inside a LibraryThreadScope; returns when all are done. Rethrows
  /// the exception of the lowest chunk that threw; chunks not yet begun are then left out. May be
  /// called from several threads at once, and from within `work`, which then cannot block.
  void run(int chunks, const std::function<void(int chunk)>& work);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace telvar::core
