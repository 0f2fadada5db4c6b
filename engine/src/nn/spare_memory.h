#pragma once

#include <optional>
#include <utility>

#include "nn/buffer.h"
#include "nn/spares.h"

namespace telvar::nn {

/// Memory of calls that have ended: the pages of fresh memory cost time. Any number of threads.
class SpareMemory {
 public:
  Buffer take(std::size_t bytes) {
    std::optional<Buffer> spare = spares_.take();
    return spare && spare->bytes() >= bytes ? std::move(*spare) : Buffer(bytes);
  }

  void give(Buffer buffer) { spares_.give(std::move(buffer)); }

 private:
  Spares<Buffer> spares_;
};

}  // namespace telvar::nn
