#include "nn/onednn/code_memory.h"

#include <sys/mman.h>

#include <cstddef>
#include <new>

namespace telvar::nn {
namespace {

/// A kernel's code buffer has 256 KiB, and few outgrow it; a primitive has several kernels.
constexpr std::size_t kMostOfAPrimitive = std::size_t{16} << 20;

}  // namespace

void require_code_memory() {
  void* const memory =
      mmap(nullptr, kMostOfAPrimitive, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  munmap(memory, kMostOfAPrimitive);
}

}  // namespace telvar::nn
