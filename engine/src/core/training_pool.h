#pragma once

#include "core/monitor.h"
#include "core/worker_pool.h"

namespace telvar::core {

/// The threads of one training, and who is told of its steps. A function that takes one tells of
/// its progress and may be cancelled; one that takes a plain WorkerPool computes and does neither.
class TrainingPool : public WorkerPool {
 public:
  /// Has the threads that the training's caller grants. The monitor must outlive the pool.
  explicit TrainingPool(Monitor& monitor) : WorkerPool(monitor.threads()), monitor_(&monitor) {}
  /// Tells nobody; `threads` as WorkerPool takes them.
  explicit TrainingPool(unsigned threads = 0) : WorkerPool(threads) {}

  Monitor& monitor() { return *monitor_; }

 private:
  Monitor nobody_;
  Monitor* monitor_ = &nobody_;
};

}  // namespace telvar::core
