// A limit of the address space: what replacing operator new cannot show, since libraries map memory
// of their own.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <functional>
#include <new>

#include "contract/child.h"
#include "contract/little_tools.h"
#include "contract/process_state.h"

namespace {

namespace samples = little_tools::samples;
namespace Types = little_tools::Types;

enum Tool { kReader, kClassifier, kSegmenter };

void create_and_process(Types::IWrapperFactory& factory, Tool tool) {
  const auto artifacts = little_tools::kept_artifacts(TELVAR_KEPT_SAMPLES);
  const auto image = samples::LoadSample("O-1");
  if (tool == kReader) {
    factory.CreateSmartOCRWrapper(std::make_unique<Types::SmartOCR::Data>(artifacts.reader, ""))
        ->Process(image, nullptr, samples::kCharacter);
  } else if (tool == kClassifier) {
    factory
        .CreateSmartClassifierWrapper(
            std::make_unique<Types::SmartClassifier::Data>(artifacts.classifier, ""))
        ->Process(image);
  } else {
    factory
        .CreateSmartSegmenterWrapper(
            std::make_unique<Types::SmartSegmenter::Data>(artifacts.segmenter, ""))
        ->Process(image, nullptr);
  }
}

/// Lets the process map so many megabytes more than it has.
class AddressSpaceLimit {
 public:
  explicit AddressSpaceLimit(long megabytes) {
    getrlimit(RLIMIT_AS, &before_);
    rlimit limit = before_;
    limit.rlim_cur = (process_state::kilobytes("VmSize") + megabytes * 1024) * 1024;
    setrlimit(RLIMIT_AS, &limit);
  }
  ~AddressSpaceLimit() { setrlimit(RLIMIT_AS, &before_); }

 private:
  rlimit before_{};
};

// Numbers that no library ends a process with.
constexpr int kWorked = 41, kRefused = 43;

/// Whether it worked or threw std::bad_alloc. In both cases it worked again without the limit.
int try_with(Tool tool, long megabytes) {
  const LoadedLibrary library(TELVAR_WRAPPERS_LIBRARY);
  const auto factory = little_tools::factory_of(library);
  int end = kWorked;
  try {
    const AddressSpaceLimit limit(megabytes);
    create_and_process(*factory, tool);
  } catch (const std::bad_alloc&) {
    end = kRefused;
  }
  create_and_process(*factory, tool);
  return end;
}

class LowMemory : public testing::TestWithParam<Tool> {};

TEST_P(LowMemory, EndsInAnAnswerOrBadAlloc) {
  int worked = 0, refused = 0;
  for (long megabytes = 1; megabytes <= 61; megabytes += 2) {
    // Nothing is loaded or built yet in any child.
    const std::string end = child::end_of([&] { return try_with(GetParam(), megabytes); });
    worked += end == "ended with " + std::to_string(kWorked);
    refused += end == "ended with " + std::to_string(kRefused);
    EXPECT_EQ(worked + refused, (megabytes + 1) / 2) << megabytes << " MB left: " << end;
  }
  EXPECT_GT(worked, 0);
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Tools, LowMemory, testing::Values(kReader, kClassifier, kSegmenter));

}  // namespace
