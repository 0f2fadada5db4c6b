#include "core/monitor.h"

#include <algorithm>

namespace telvar::core {

void Monitor::expect(double steps) {
  const std::lock_guard<std::mutex> lock(mutex_);
  remaining_ = steps;
}

void Monitor::measured(double score) {
  const std::lock_guard<std::mutex> lock(mutex_);
  score_ = score;
}

void Monitor::advance(int steps) {
  if (loader_ == nullptr || !loader_->report) return;
  count(steps);
  const std::unique_lock<std::mutex> reports(reporting_, std::try_to_lock);
  if (reports) report();
}

void Monitor::count(int steps) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (stopped_) std::rethrow_exception(stopped_);
  done_ += steps;
  remaining_ = std::max(0.0, remaining_ - steps);
}

void Monitor::report() {
  double fraction = 0, score = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const double all = done_ + remaining_;
    if (all > 0) fraction_ = std::max(fraction_, done_ / all);
    fraction = fraction_;
    score = score_;
  }
  try {
    const LibraryThreadScope::InHostMode host(*scope_);
    loader_->report(fraction, score);
  } catch (...) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!stopped_) stopped_ = std::current_exception();
    throw;
  }
}

}  // namespace telvar::core
