#include "app/interrupt.h"

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>
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

// What RemovedOnExit was given: paths, and for folders that are removed only when empty the folder
// above them.
using Unfinished = std::vector<std::pair<std::filesystem::path, std::filesystem::path>>;

// These three and stop() are never destroyed: the thread that waits for signals may use them while
// the program ends.
Unfinished& unfinished() {
  static auto* paths = new Unfinished;
  return *paths;
}

std::mutex& registry_mutex() {
  static auto* mutex = new std::mutex;
  return *mutex;
}

// Guarded by output_mutex().
std::optional<int>& reported_code() {
  static auto* code = new std::optional<int>;
  return *code;
}

void remove_quietly(const std::filesystem::path& path, const std::filesystem::path& above) {
  std::error_code ignored;
  if (above.empty()) {
    std::filesystem::remove_all(path, ignored);
    return;
  }
  for (auto folder = path; folder != above; folder = folder.parent_path()) {
    if (!std::filesystem::remove(folder, ignored)) break;
  }
}

// What a StopRequest waits for.
struct Stop {
  std::mutex mutex;
  std::condition_variable changed;
  bool expected = false;
  int exit_code = 0;  // once requested
  std::optional<std::chrono::milliseconds> patience;
};

Stop& stop() {
  static auto* state = new Stop;
  return *state;
}

// Returns false when nobody is there who stops by itself in time.
bool ask_to_stop(int exit_code) {
  std::unique_lock<std::mutex> lock(stop().mutex);
  if (!stop().expected || stop().exit_code != 0) return false;
  stop().exit_code = exit_code;
  stop().changed.notify_all();
  return !stop().patience ||
         stop().changed.wait_for(lock, *stop().patience, [] { return !stop().expected; });
}

[[noreturn]] void end_program(const std::function<void(int)>& report, int exit_code) {
  output_mutex().lock();
  {
    std::lock_guard<std::mutex> lock(registry_mutex());
    auto& paths = unfinished();
    for (auto path = paths.rbegin(); path != paths.rend(); ++path)
      remove_quietly(path->first, path->second);
  }
  if (reported_code()) std::_Exit(*reported_code());
  report(exit_code);
  std::_Exit(exit_code);
}

}  // namespace

std::mutex& output_mutex() {
  static auto* mutex = new std::mutex;
  return *mutex;
}

void set_reported(int exit_code) {
  reported_code() = exit_code;
}

#ifdef _WIN32
namespace {
std::function<void(int)>* windows_report = nullptr;
BOOL WINAPI on_console_event(DWORD) {
  if (ask_to_stop(130)) return TRUE;
  end_program(*windows_report, 130);
}
}  // namespace

void install_interrupt_handling(std::function<void(int)> report) {
  windows_report = new std::function<void(int)>(std::move(report));
  SetConsoleCtrlHandler(on_console_event, TRUE);
}
#else
void install_interrupt_handling(std::function<void(int)> report) {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);  // a file beyond the limit is an error of writing too
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
    while (sigwait(&signals, &signal) != 0 || ask_to_stop(128 + signal)) {
    }
    end_program(report, 128 + signal);
  }).detach();
}
#endif

StopRequest::StopRequest(std::optional<std::chrono::milliseconds> patience) {
  std::lock_guard<std::mutex> lock(stop().mutex);
  stop().expected = true;
  stop().patience = patience;
}

StopRequest::~StopRequest() {
  std::lock_guard<std::mutex> lock(stop().mutex);
  stop().expected = false;
  stop().exit_code = 0;
  stop().changed.notify_all();
}

int StopRequest::exit_code() const {
  std::lock_guard<std::mutex> lock(stop().mutex);
  return stop().exit_code;
}

bool StopRequest::wait(std::chrono::milliseconds longest) const {
  std::unique_lock<std::mutex> lock(stop().mutex);
  return stop().changed.wait_for(lock, longest, [] { return stop().exit_code != 0; });
}

RemovedOnExit::RemovedOnExit(std::filesystem::path path) : RemovedOnExit(std::move(path), {}) {}

RemovedOnExit::RemovedOnExit(std::filesystem::path path, std::filesystem::path above)
    : path_(std::move(path)), above_(std::move(above)) {
  std::lock_guard<std::mutex> lock(registry_mutex());
  unfinished().emplace_back(path_, above_);
}

void RemovedOnExit::keep() {
  std::lock_guard<std::mutex> lock(registry_mutex());
  auto& paths = unfinished();
  paths.erase(std::remove(paths.begin(), paths.end(), std::pair(path_, above_)), paths.end());
  kept_ = true;
}

RemovedOnExit::~RemovedOnExit() {
  if (kept_) return;
  remove_quietly(path_, above_);
  keep();
}

}  // namespace telvar_host
