#pragma once

// How far a training has come: told to whoever called it, who may cancel it.

#include <exception>
#include <mutex>

#include "core/library_threads.h"
#include "telvar/monitored_loader.h"

namespace telvar::core {

/// Counts the steps of one training. Safe from several threads at once.
class Monitor {
 public:
  /// Reports to nobody.
  Monitor() = default;
  /// Reports to `loader` if it is a types::MonitoredLoader, else to nobody. Whatever thread reports
  /// does so in the host's floating-point mode, as `scope` found it. Both must outlive the monitor.
  Monitor(const types::ImageLoader& loader, const LibraryThreadScope& scope)
      : loader_(loader.target<types::MonitoredLoader>()), scope_(&scope) {}
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  /// The threads that the caller grants; 0: as many as the process may use.
  unsigned threads() const { return loader_ == nullptr ? 0 : loader_->threads; }

  /// Says that at most `steps` more steps will follow.
  void expect(double steps);
  /// Notes the present score on held-out samples.
  void measured(double score);
  /// Called between steps: one more is done. Throws what the report throws, to every thread that
  /// comes here after it did. While one thread reports, others only count.
  void step() { advance(1); }
  /// The same where work is done that is not counted in steps.
  void check() { advance(0); }

 private:
  void advance(int steps);
  void count(int steps);
  void report();

  const types::MonitoredLoader* loader_ = nullptr;
  const LibraryThreadScope* scope_ = nullptr;
  std::mutex reporting_;  // held by the thread that reports
  std::mutex mutex_;      // of what follows
  std::exception_ptr stopped_;
  double done_ = 0, remaining_ = 0, fraction_ = 0, score_ = -1;
};

}  // namespace telvar::core
