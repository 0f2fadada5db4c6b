#pragma once

#include <mutex>
#include <utility>
#include <vector>

#include "nn/buffer.h"

namespace telvar::nn {

/// Memory of calls that have ended: the pages of fresh memory cost time. Any number of threads.
class SpareMemory {
 public:
  Buffer take(std::size_t bytes) {
    {
      const std::lock_guard lock(mutex_);
      if (!spare_.empty()) {
        Buffer buffer = std::move(spare_.back());
        spare_.pop_back();
        if (buffer.bytes() >= bytes) return buffer;
      }
    }
    return Buffer(bytes);
  }

  void give(Buffer buffer) {
    const std::lock_guard lock(mutex_);
    spare_.push_back(std::move(buffer));
  }

 private:
  std::mutex mutex_;
  std::vector<Buffer> spare_;
};

}  // namespace telvar::nn
