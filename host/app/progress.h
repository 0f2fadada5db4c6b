// What the program is doing, on standard error.
//
// On a terminal one line moves: a count while images are read, then the share of the work that is
// done, the time left and the score so far where they are known, and the elapsed time otherwise.
// Elsewhere a plain line marks each stage's start and end, and says the same every 15 seconds.
// Nothing is written when quiet.
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

  // Begins a stage of `total` images (0: no count); ends the one before.
  void start(const std::string& what, std::size_t total = 0);
  // One more image read. Steps beyond the total are not counted.
  void step();
  // The share of the stage's work that is done, 0..1, and the score, 0..1; less than 0: not known.
  void advance(double fraction, double score);
  void finish();
  // A warning or note; kept off the moving line. Not written when quiet.
  void note(const std::string& text);

 private:
  void keep_drawing();
  std::string line() const;
  std::string work_line() const;

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
  double fraction_ = -1;
  double score_ = -1;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::steady_clock::time_point work_begin_;  // when the fraction was first known
};

}  // namespace telvar_host
