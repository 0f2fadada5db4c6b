#include "app/progress.h"

#include <cstdio>

#include "app/terminal.h"
#include "app/text.h"

namespace telvar_host {
namespace {

double seconds_since(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string clock(double seconds) {
  const auto whole = static_cast<long>(seconds);
  const auto rest = std::to_string(whole % 60);
  return std::to_string(whole / 60) + ":" + (rest.size() < 2 ? "0" + rest : rest);
}

void write(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

constexpr const char* kClearLine = "\r\x1b[K";
// Between the lines of a log: few in a long training, and none in most stages.
constexpr std::chrono::milliseconds kPlainPause(15000);

}  // namespace

Progress::Progress(bool quiet) : quiet_(quiet), moving_(!quiet && stderr_is_terminal()) {}

Progress::~Progress() {
  finish();
}

void Progress::start(const std::string& what, std::size_t total) {
  finish();
  if (quiet_) return;
  what_ = what;
  total_ = total;
  count_ = 0;
  fraction_ = score_ = -1;
  stop_ = false;
  active_ = true;
  begin_ = std::chrono::steady_clock::now();
  if (moving_) {
    write(kClearLine + line());  // even the shortest stage shows
  } else {
    write(what_ + (total_ > 0 ? ": " + counted(total_, "image") : "") + "\n");
  }
  drawer_ = std::thread([this] { keep_drawing(); });
}

void Progress::step() {
  if (quiet_) return;
  std::lock_guard<std::mutex> lock(mutex_);
  if (count_ < total_) ++count_;
}

void Progress::advance(double fraction, double score) {
  if (quiet_ || fraction < 0) return;
  std::lock_guard<std::mutex> lock(mutex_);
  if (fraction_ < 0) work_begin_ = std::chrono::steady_clock::now();
  fraction_ = fraction;
  score_ = score;
}

void Progress::finish() {
  if (!active_) return;
  active_ = false;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  stopped_.notify_all();
  if (drawer_.joinable()) drawer_.join();
  const auto spent = what_ + ": " + fixed(seconds_since(begin_), 1) + " s\n";
  write(moving_ ? kClearLine + spent : spent);
}

void Progress::note(const std::string& text) {
  if (quiet_) return;
  std::lock_guard<std::mutex> lock(mutex_);
  write((moving_ && active_ ? kClearLine : "") + text + "\n");
}

void Progress::keep_drawing() {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto pause = moving_ ? std::chrono::milliseconds(200) : kPlainPause;
  while (!stopped_.wait_for(lock, pause, [this] { return stop_; })) {
    write(moving_ ? kClearLine + line() : line() + "\n");
  }
}

std::string Progress::line() const {
  if (fraction_ >= 0) return work_line();
  const auto elapsed = "  " + clock(seconds_since(begin_));
  if (total_ == 0 || count_ == total_) return what_ + elapsed;
  auto text = what_ + ": " + std::to_string(count_) + " of " + counted(total_, "image") + elapsed;
  if (count_ == 0) return text;
  const double each = seconds_since(begin_) / static_cast<double>(count_);
  return text + ", " + clock(each * static_cast<double>(total_ - count_)) + " left";
}

// Some of the work may turn out to be needless, so that less time is left than it says.
std::string Progress::work_line() const {
  auto text = what_ + ": " + std::to_string(static_cast<int>(100 * fraction_)) + " %  " +
              clock(seconds_since(begin_));
  const double spent = seconds_since(work_begin_);
  if (fraction_ > 0 && spent > 1) {
    text += ", at most " + clock(spent * (1 - fraction_) / fraction_) + " left";
  }
  return score_ < 0 ? text : text + ", score so far " + fixed(100 * score_, 1) + " %";
}

}  // namespace telvar_host
