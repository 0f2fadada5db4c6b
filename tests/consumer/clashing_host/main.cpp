// Loads and unloads the library twenty times beside clashing message classes and descriptor files.
// The first time the tools are trained; every time they process. Nothing may throw.

#include <google/protobuf/descriptor.h>

#include <cstdio>
#include <memory>
#include <string>

#include "contract/little_tools.h"
#include "contract/process_state.h"
#include "telvar_msg/classification.pb.h"

namespace {

using little_tools::require;

constexpr int kReloads = 20;

struct Memory {
  // kB. The first shows mappings that stay; the second blocks that do.
  long resident = process_state::resident_kilobytes();
  long heap = process_state::heap_kilobytes();
};

// Measured over 18 reloads: with the embedded engine no resident growth and 5 kB of heap, most of
// it allocated by the loader inside dlclose. The scripted engine records every call: 232 kB.
constexpr long kAllowedResident = 1024, kAllowedHeap = LEARNS ? 32 : 320;

/// An engine that learns nothing takes any artifact but an empty one.
const little_tools::Artifacts kUntrained =
    LEARNS ? little_tools::Artifacts{} : little_tools::Artifacts{"any", "any", "any"};

/// Data sets, parameters and answers pass through the library's own messages.
void process(const little_tools::Tools& tools) {
  if (LEARNS) return require_right_answers(tools);
  for (const std::string& id : little_tools::samples::kIds) answers_to(tools, id);
}

/// Trains unless there are artifacts from an earlier time.
void load_use_unload(std::unique_ptr<little_tools::Artifacts>& artifacts) {
  {
    const LoadedLibrary library(LIBRARY);
    const auto factory = little_tools::factory_of(library);
    if (!artifacts) {
      artifacts =
          std::make_unique<little_tools::Artifacts>(little_tools::train({*factory, kUntrained}));
    }
    process({*factory, *artifacts});
  }
  require(!process_state::maps("libTelvarWrappers"), "the library stays loaded");
}

void run() {
  telvar_msg::qv::classification::Sample own;
  own.set_image_id("image");
  require(own.GetDescriptor()->full_name() == "telvar_msg.qv.classification.Sample",
          "this host's own messages do not reflect");
  const auto* files = google::protobuf::DescriptorPool::generated_pool();
  for (const char* name : {COMMON_NAMES}) {
    require(files->FindFileByName(name) != nullptr, std::string(name) + " is not registered");
  }
  std::unique_ptr<little_tools::Artifacts> artifacts;
  load_use_unload(artifacts);
  load_use_unload(artifacts);
  const Memory before;
  for (int i = 2; i < kReloads; ++i) load_use_unload(artifacts);
  const Memory after;
  const long resident = after.resident - before.resident, heap = after.heap - before.heap;
  std::printf("growth over %d reloads: %ld kB resident, %ld kB of heap\n", kReloads - 2, resident,
              heap);
  require(before.resident > 0 && resident < kAllowedResident && heap < kAllowedHeap,
          "memory grows");
  require(own.image_id() == "image", "this host's own message has changed");
}

}  // namespace

int main() {
  return little_tools::exit_code_of(run);
}
