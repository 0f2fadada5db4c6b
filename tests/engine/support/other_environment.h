#pragma once

// What a training leaves behind must not depend on the environment, which libraries read once, at
// a process's start: hence a process of its own.

#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

namespace telvar::test {

/// A line that stands for the bytes.
inline std::string digest_line(const std::string& bytes) {
  return "digest " + std::to_string(std::hash<std::string>{}(bytes)) + "\n";
}

/// What this executable's tests named `filter`, disabled ones included, print in an environment
/// that asks the numeric libraries for threads. Throws when they fail.
inline std::string printed_in_another_environment(const std::string& filter) {
  const std::string command =
      "OMP_NUM_THREADS=3 OMP_DYNAMIC=true OPENBLAS_NUM_THREADS=3 MKL_NUM_THREADS=3 '" +
      std::filesystem::read_symlink("/proc/self/exe").string() +
      "' --gtest_also_run_disabled_tests --gtest_filter='" + filter + "'";
  FILE* child = popen(command.c_str(), "r");
  if (child == nullptr) throw std::runtime_error("no process: " + command);
  std::string output;
  for (char line[256]; fgets(line, sizeof line, child) != nullptr;) output += line;
  if (pclose(child) != 0) throw std::runtime_error(output);
  return output;
}

}  // namespace telvar::test
