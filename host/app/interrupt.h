// Interrupts: a signal at any moment removes what is half written and ends the program.
//
// A thread of its own waits for SIGINT, SIGTERM and SIGHUP (Ctrl-C and Ctrl-Break on Windows), so
// that ordinary code may run in answer, whatever the other threads are doing. Whoever makes output
// visible holds `output_mutex()` meanwhile; the interrupt takes it and never gives it back.
#pragma once

#include <filesystem>
#include <functional>
#include <mutex>

namespace telvar_host {

// Call once, before any other thread starts. `report` is called with the exit code (128 + signal)
// just before the program ends.
void install_interrupt_handling(std::function<void(int exit_code)> report);

std::mutex& output_mutex();

// While alive, `path` (a file or a folder) is removed by an interrupt; also by the destructor
// unless `keep()` was called. Hold `output_mutex()` for `keep()` together with the rename that
// completes it.
class RemovedOnExit {
 public:
  explicit RemovedOnExit(std::filesystem::path path);
  ~RemovedOnExit();
  RemovedOnExit(const RemovedOnExit&) = delete;
  RemovedOnExit& operator=(const RemovedOnExit&) = delete;
  void keep();
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  bool kept_ = false;
};

}  // namespace telvar_host
