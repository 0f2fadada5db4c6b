// What the program is doing, on standard error.
//
// On a terminal one line moves: a count while pictures are read, the elapsed time otherwise.
// Elsewhere a plain line marks each stage's start and end. Nothing is written when quiet.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace telvar_host {

class Progress {
 public:
  explicit Progress(bool quiet);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Begins a stage of `total` pictures (0: no count); ends the one before.
  void start(const std::string& what, std::size_t total = 0);
  // One more picture read. Steps beyond the total are not counted.
  void step();
  void finish();
  // A warning or note; kept off the moving line. Not written when quiet.
  void note(const std::string& text);

 private:
  void keep_drawing();
  std::string line() const;

  const bool quiet_;
  const bool moving_;
  std::mutex mutex_;
  std::condition_variable stopped_;
  std::thread drawer_;
  bool active_ = false;
  bool stop_ = false;
  std::string what_;
  std::size_t total_ = 0;
  std::size_t count_ = 0;
  std::chrono::steady_clock::time_point begin_;
};

}  // namespace telvar_host
