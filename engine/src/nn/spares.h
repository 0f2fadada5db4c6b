#pragma once

#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace telvar::nn {

/// What calls that have ended leave to the next ones, where making it anew costs time. Any number
/// of threads.
template <class Value>
class Spares {
 public:
  std::optional<Value> take() {
    const std::lock_guard lock(mutex_);
    if (kept_.empty()) return std::nullopt;
    std::optional<Value> taken(std::move(kept_.back()));
    kept_.pop_back();
    return taken;
  }

  void give(Value value) {
    const std::lock_guard lock(mutex_);
    kept_.push_back(std::move(value));
  }

 private:
  std::mutex mutex_;
  std::vector<Value> kept_;
};

}  // namespace telvar::nn
