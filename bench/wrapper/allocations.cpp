#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> counting{false};
std::atomic<std::size_t> count{0};
std::atomic<std::size_t> bytes{0};
std::atomic<std::size_t> largest{0};

void Count(std::size_t size) {
  if (!counting) return;
  ++count;
  bytes += size;
  std::size_t seen = largest;
  while (size > seen && !largest.compare_exchange_weak(seen, size)) {
  }
}

}  // namespace

void* operator new(std::size_t size) {
  Count(size);
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

void StartCounting() {
  count = bytes = largest = 0;
  counting = true;
}

Allocations StopCounting() {
  counting = false;
  return {count, bytes, largest};
}
