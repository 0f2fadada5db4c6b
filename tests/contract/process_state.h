#pragma once

// What a process on Linux holds.

#if defined(__linux__)

#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace process_state {

/// A value of /proc/self/status in kB, such as "VmRSS" or "VmSize".
inline long kilobytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long value = 0;
    if (word == name + ":" && status >> value) return value;
  }
  return 0;
}

/// What is resident, less what the heap holds free.
inline long resident_kilobytes() {
  malloc_trim(0);
  return kilobytes("VmRSS");
}

/// Blocks of the heap in use, in kB.
inline long heap_kilobytes() {
  const auto heap = mallinfo2();
  return static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
}

inline std::ptrdiff_t threads() {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator("/proc/self/task"), Iterator());
}

/// Whether a file whose name contains `name` is mapped.
inline bool maps(const std::string& name) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find(name) != std::string::npos) return true;
  }
  return false;
}

}  // namespace process_state

#endif
