#pragma once

// Counts what a program allocates with operator new, its shared libraries included.

#include <cstddef>

struct Allocations {
  std::size_t count = 0;
  std::size_t bytes = 0;
  std::size_t largest = 0;  // bytes of the largest single one
};

void StartCounting();
Allocations StopCounting();

/// What `call` allocates, on all threads together.
template <typename Call>
Allocations AllocationsOf(Call&& call) {
  StartCounting();
  call();
  return StopCounting();
}
