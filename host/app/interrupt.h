// Interrupts: a signal at any moment removes what is half written and ends the program.
//
// A thread of its own waits for SIGINT, SIGTERM and SIGHUP (Ctrl-C and Ctrl-Break on Windows), so
// that ordinary code may run in answer, whatever the other threads are doing. Whoever makes output
// visible holds `output_mutex()` meanwhile; the interrupt takes it and never gives it back.
// SIGPIPE is ignored: a closed pipe is an error of writing, not a death with work half done.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>

namespace telvar_host {

// Call once, before any other thread starts. `report` is called with the exit code (128 + signal)
// just before the program ends.
void install_interrupt_handling(std::function<void(int exit_code)> report);

std::mutex& output_mutex();

// The outcome or error is printed: an interrupt from now on ends the program with `exit_code` and
// reports nothing. Hold `output_mutex()`.
void set_reported(int exit_code);

// While alive, the first interrupt does not end the program but asks it to stop by itself; the
// second ends it, and so does the first when `patience` is over, if one is given.
class StopRequest {
 public:
  explicit StopRequest(std::optional<std::chrono::milliseconds> patience = {});
  ~StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;
  bool requested() const { return exit_code() != 0; }
  // What a program that was interrupted returns; 0: nobody has asked.
  int exit_code() const;
  // Waits for the request, at most that long; returns whether it is there.
  bool wait(std::chrono::milliseconds longest) const;
};

// While alive, `path` (a file or a folder) is removed by an interrupt, after those made later; also
// by the destructor unless `keep()` was called. Hold `output_mutex()` for `keep()` together with
// the rename that completes it.
class RemovedOnExit {
 public:
  explicit RemovedOnExit(std::filesystem::path path);
  // A new folder that others may put something into as well: it and its parents up to `above`,
  // which stays, are removed as far as they are empty.
  RemovedOnExit(std::filesystem::path path, std::filesystem::path above);
  ~RemovedOnExit();
  RemovedOnExit(const RemovedOnExit&) = delete;
  RemovedOnExit& operator=(const RemovedOnExit&) = delete;
  void keep();
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::filesystem::path above_;
  bool kept_ = false;
};

}  // namespace telvar_host
