// Loads the library, trains, processes with the three tools, and unloads the library, twenty times.
// No memory, no thread and nothing of the library may stay.

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "contract/little_tools.h"
#include "contract/process_state.h"

namespace {

using little_tools::require;

constexpr int kRounds = 20;
/// Later rounds use the memory of the first ones again.
constexpr int kFirstRounds = 3;

/// In kB. The first shows mappings that stay; the second blocks that do.
struct Memory {
  long resident = process_state::resident_kilobytes();
  long heap = process_state::heap_kilobytes();
};

/// All three learn from nothing in the first round and the last; in the others the segmenter goes
/// on learning, which is quick.
void load_train_process_unload(int round, little_tools::Artifacts& artifacts) {
  const LoadedLibrary library(TELVAR_WRAPPERS_LIBRARY);
  // What a host may have a copy of its own of.
  require(!process_state::maps("libopencv"), "the library brings an OpenCV along");
  const auto factory = little_tools::factory_of(library);
  if (round == 1 || round == kRounds) {
    const little_tools::Tools tools(*factory, {});
    artifacts = train(tools);
    require_right_answers(tools);
  } else {
    const little_tools::Tools tools(*factory, artifacts);
    artifacts.segmenter = little_tools::train_segmenter(tools);
  }
  little_tools::require_right_answers({*factory, artifacts});
}

void require_nothing_left() {
  // A joined thread may stay listed for a moment.
  for (int i = 0; i < 100 && process_state::threads() > 1; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  require(process_state::threads() == 1, "a thread is left");
  for (const char* name : {"libTelvarWrappers", "libtelvar.so"}) {
    require(!process_state::maps(name), std::string(name) + " stays mapped");
  }
}

void run() {
  Memory before;
  little_tools::Artifacts artifacts;
  for (int round = 1; round <= kRounds; ++round) {
    load_train_process_unload(round, artifacts);
    require_nothing_left();
    const Memory now;
    std::printf("round %d: %ld kB resident, %ld kB of heap\n", round, now.resident, now.heap);
    std::fflush(stdout);
    if (round <= kFirstRounds) before = now;
    // After the last one the allocator may keep pages of three trainings, none of them in use.
    if (round < kRounds) require(now.resident - before.resident < 512, "resident memory grows");
    require(now.heap - before.heap < 128, "the heap grows");
  }
}

}  // namespace

int main() {
  return little_tools::exit_code_of(run);
}
