#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> live{0};
std::atomic<long> total{0};
std::atomic<long> left{0};  // allocations until one fails; 0: none does
std::atomic<bool> keeps_failing{false};
std::atomic<bool> failed{false};

bool MustFail() {
  if (left == 0 || --left != 0) return false;
  if (keeps_failing) left = 1;
  failed = true;
  return true;
}

void* Allocate(std::size_t bytes) {
  void* memory = MustFail() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
  if (memory == nullptr) throw std::bad_alloc();
  ++live;
  ++total;
  return memory;
}

void Release(void* memory) noexcept {
  if (memory == nullptr) return;
  --live;
  std::free(memory);
}

}  // namespace

// Every form without an alignment: a sanitizer would otherwise supply the missing ones by its own.
void* operator new(std::size_t bytes) {
  return Allocate(bytes);
}
void* operator new[](std::size_t bytes) {
  return Allocate(bytes);
}
void operator delete(void* memory) noexcept {
  Release(memory);
}
void operator delete[](void* memory) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  Release(memory);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  try {
    return Allocate(bytes);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t bytes, const std::nothrow_t& tag) noexcept {
  return operator new(bytes, tag);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  Release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  Release(memory);
}

namespace faults {

long LiveAllocations() {
  return live;
}
long TotalAllocations() {
  return total;
}

void FailAllocation(long n, Mode mode) {
  failed = false;
  keeps_failing = mode == Mode::kFromThenOn;
  left = n;
}

bool StopFailing() {
  left = 0;
  return failed;
}

}  // namespace faults
