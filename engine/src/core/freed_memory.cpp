#include "core/freed_memory.h"

#include <cstdlib>

namespace telvar::core {
namespace {

// The largest block that moves the thresholds of a 64-bit process, less its own head and alignment.
constexpr std::size_t kLargestThatCounts = (std::size_t{32} << 20) - 65536;

}  // namespace

void keep_freed_memory() {
  void* volatile block = std::malloc(kLargestThatCounts);  // volatile, or it would be left out
  std::free(block);
}

}  // namespace telvar::core
