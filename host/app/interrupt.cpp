#include "app/interrupt.h"

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <vector>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <unistd.h>
#include <csignal>
#endif

namespace telvar_host {
namespace {

// Never destroyed: the waiting thread may use these while the program ends.
std::vector<std::filesystem::path>& unfinished() {
  static auto* paths = new std::vector<std::filesystem::path>;
  return *paths;
}

std::mutex& registry_mutex() {
  static auto* mutex = new std::mutex;
  return *mutex;
}

[[noreturn]] void end_program(const std::function<void(int)>& report, int exit_code) {
  output_mutex().lock();
  {
    std::lock_guard<std::mutex> lock(registry_mutex());
    std::error_code ignored;
    for (const auto& path : unfinished()) std::filesystem::remove_all(path, ignored);
  }
  report(exit_code);
  std::_Exit(exit_code);
}

}  // namespace

std::mutex& output_mutex() {
  static auto* mutex = new std::mutex;
  return *mutex;
}

#ifdef _WIN32
namespace {
std::function<void(int)>* windows_report = nullptr;
BOOL WINAPI on_console_event(DWORD) {
  end_program(*windows_report, 130);
}
}  // namespace

void install_interrupt_handling(std::function<void(int)> report) {
  windows_report = new std::function<void(int)>(std::move(report));
  SetConsoleCtrlHandler(on_console_event, TRUE);
}
#else
void install_interrupt_handling(std::function<void(int)> report) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction current {};
    sigaction(signal, nullptr, &current);
    // Ignored by the caller (nohup, background jobs) stays ignored.
    if (current.sa_handler != SIG_IGN) sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread([signals, report = std::move(report)] {
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    end_program(report, 128 + signal);
  }).detach();
}
#endif

RemovedOnExit::RemovedOnExit(std::filesystem::path path) : path_(std::move(path)) {
  std::lock_guard<std::mutex> lock(registry_mutex());
  unfinished().push_back(path_);
}

void RemovedOnExit::keep() {
  std::lock_guard<std::mutex> lock(registry_mutex());
  auto& paths = unfinished();
  paths.erase(std::remove(paths.begin(), paths.end(), path_), paths.end());
  kept_ = true;
}

RemovedOnExit::~RemovedOnExit() {
  if (kept_) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
  keep();
}

}  // namespace telvar_host
