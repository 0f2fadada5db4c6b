// The program's own errors and its exit codes.
#pragma once

#include <stdexcept>
#include <string>

namespace telvar_host {

// What the program returns to its caller; documented in docs/host.md and in `telvar --help`.
enum class ExitCode {
  kOk = 0,
  kFailed = 1,   // the operation itself failed: engine, memory, writing
  kUsage = 2,    // unknown, missing or inapplicable option; output exists and --force is not given
  kBadData = 3,  // a data set, image, region or state file is refused
  kNoLibrary = 4,     // the TelvarWrappers library cannot be loaded
  kInterrupted = 130  // SIGINT; other signals give 128 + their number
};

// An error with its exit code. `what()` is one UTF-8 line that names the offending thing.
class HostError : public std::runtime_error {
 public:
  HostError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

inline HostError failure(const std::string& message) {
  return {ExitCode::kFailed, message};
}
inline HostError usage_error(const std::string& message) {
  return {ExitCode::kUsage, message};
}
inline HostError data_error(const std::string& message) {
  return {ExitCode::kBadData, message};
}

}  // namespace telvar_host
