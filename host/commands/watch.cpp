#include "commands/watch.h"

#include <chrono>
#include <map>
#include <utility>

#include "app/interrupt.h"
#include "app/terminal.h"
#include "app/text.h"
#include "datasets/layout.h"
#include "predictions/prediction.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

constexpr auto kStill = std::chrono::milliseconds(500);

struct Stamp {
  std::uintmax_t bytes = 0;
  fs::file_time_type time;
  bool operator==(const Stamp& other) const { return bytes == other.bytes && time == other.time; }
};

Stamp stamp_of(const fs::path& file) {
  std::error_code lost;  // gone again: looked at as empty, and then no more
  return {fs::file_size(file, lost), fs::last_write_time(file, lost)};
}

// The images of a folder, each once, when its file is whole.
class Arrivals {
 public:
  explicit Arrivals(fs::path folder) : folder_(std::move(folder)) {}

  std::vector<fs::path> next() {
    require_folder(folder_);
    Problems lost;  // links that lead nowhere may lead somewhere later
    std::vector<fs::path> whole;
    std::map<fs::path, Stamp> now;
    for (const auto& file : entries_in(folder_, lost).images) {
      const auto stamp = stamp_of(file);
      const auto before = seen_.find(file);
      const bool still = before != seen_.end() && before->second == stamp;
      const auto done = done_.find(file);
      if (still && (done == done_.end() || !(done->second == stamp))) {
        whole.push_back(file);
        done_[file] = stamp;
      }
      now[file] = stamp;
    }
    seen_ = std::move(now);
    return whole;
  }

 private:
  fs::path folder_;
  std::map<fs::path, Stamp> seen_;  // when last looked
  std::map<fs::path, Stamp> done_;
};

void show(const std::string& image, const Json& result, bool json) {
  std::lock_guard<std::mutex> lock(output_mutex());
  const auto text = json ? dumped(result, -1) + "\n" : image + "\n" + text_of(result);
  if (!print_whole(stdout, text)) throw failure("cannot write to standard output");
}

}  // namespace

Outcome watch(const fs::path& folder, bool json,
              const std::function<Json(const std::string& image)>& process) {
  const StopRequest stop;
  Arrivals arrivals(folder);
  Outcome outcome;
  outcome.silent = true;
  while (!stop.wait(kStill)) {
    for (const auto& file : arrivals.next()) {
      const auto image = utf8(file);
      show(image, process(image), json);
      if (stop.requested()) break;
    }
  }
  return outcome;
}

}  // namespace telvar_host
