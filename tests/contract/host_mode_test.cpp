// Hosts that compute in a mode of their own, on the embedded engine through the loaded library.

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <string>
#include <vector>

#include "contract/kept_tools.h"

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace {

namespace samples = little_tools::samples;
namespace Types = little_tools::Types;
using little_tools::Tools;

/// The calling thread's mode: rounding, and on this processor the control words of both units.
struct Mode {
  int rounding = std::fegetround();
  unsigned short long_doubles = 0;
  unsigned vectors = 0;

  Mode() {
#if defined(__x86_64__)
    asm volatile("fnstcw %0" : "=m"(long_doubles));
    vectors = _mm_getcsr() & ~0x3Fu;  // without the flags of exceptions that have happened
#endif
  }
  bool operator==(const Mode& other) const {
    return rounding == other.rounding && long_doubles == other.long_doubles &&
           vectors == other.vectors;
  }
};

/// A mode of the host for as long as it lives: a rounding, and on this processor numbers too small
/// to be normal that count as zero, and long doubles of double precision.
class HostMode {
 public:
  HostMode(int rounding, bool strange_numbers) {
    std::fegetenv(&before_);
    std::fesetround(rounding);
#if defined(__x86_64__)
    if (!strange_numbers) return;
    _mm_setcsr(_mm_getcsr() | 0x8040);  // flush to zero, denormals are zero
    unsigned short control = 0;
    asm volatile("fnstcw %0" : "=m"(control));
    control = static_cast<unsigned short>((control & ~0x300) | 0x200);  // precision: double
    asm volatile("fldcw %0" : : "m"(control));
#endif
  }
  ~HostMode() {
    std::fesetenv(&before_);
  }

 private:
  std::fenv_t before_{};
};

/// What a host gets from the library, and the modes that its callbacks met.
struct Seen {
  std::string answers;
  little_tools::Artifacts artifacts;
  std::vector<Mode> modes;
};

/// A loader of the host that notes the mode it is called in, and leaves it as it was.
template <class Load>
auto noting(Seen& seen, const Load& load) {
  return [&seen, load](const std::string& id) {
    seen.modes.emplace_back();
    return load(id);
  };
}

/// All that processing gives: with a turned region, fielded, sorted, and in batches.
void process(const Tools& tools, Seen& seen) {
  const auto image = samples::LoadSample("O-1");
  const auto region = std::make_shared<Types::ROI>(3.f, 1.f, 0.1f, 0.05f, 28, 28);
  const little_tools::Answers whole = answers_to(tools, "O-1");
  const little_tools::Answers turned{tools.reader->Process(image, region, samples::kCharacter),
                                     tools.classifier->Process(image),
                                     tools.segmenter->Process(image, region)};
  seen.answers += exact_text(whole) + exact_text(turned);
  try {
    const auto fielded = tools.reader->Process(image, region, samples::kCharacter,
                                               Types::SmartOCR::BasicFielding("IO", 1));
    little_tools::Answers alone;
    alone.read.sample = fielded.fieldingResult.sample;
    seen.answers += exact_text(alone);
  } catch (const Orbalt::TelvarWrapper::InvalidArgumentException& error) {
    seen.answers += error.what();  // nothing in it matches
  }
  for (const auto& line :
       tools.reader->SortCharacters({{1.f, 2.f}, {9.f, 2.3f}, {3.f, 9.f}}, 5.f)) {
    for (const auto index : line) seen.answers += std::to_string(index) + ' ';
  }
  Types::CommonDataSet batch;
  batch.samples["I-0"] = {"I-0"};
  const auto loader = noting(seen, samples::LoadSample);
  little_tools::Answers batched;
  batched.read.sample = whole.read.sample;
  batched.classified = tools.classifier->BatchProcess(batch, loader).samples.at("I-0");
  batched.segmented = tools.segmenter->BatchProcess(batch, loader).results.at("I-0");
  seen.answers += exact_text(batched);
}

Seen everything_seen() {
  Seen seen;
  process(kept_tools::new_tools(), seen);
  const Tools tools = kept_tools::untrained_tools();
  const auto loader = noting(seen, samples::LoadSample);
  auto pages = samples::ToRead();  // with numbers that single precision must round
  pages.height += 0.1;
  for (auto& page : pages.trainData) page.assignments.front().firstValue += 0.1;
  const auto report = [&](const Types::Progress&) {
    seen.modes.emplace_back();
    return true;
  };
  tools.reader->Train(pages, loader);
  tools.classifier->Train(samples::ToClassify(), Types::MonitoredLoader(loader, report));
  tools.segmenter->Train(samples::ToSegment(), loader, noting(seen, samples::LoadMask));
  seen.artifacts = {tools.reader->GetData()->artifact, tools.classifier->GetData()->artifact,
                    tools.segmenter->GetData()->artifact};
  process(tools, seen);
  seen.modes.emplace_back();
  return seen;
}

struct Host {
  const char* name;
  int rounding;
  bool strange_numbers;
};

class HostWithAModeOfItsOwn : public testing::TestWithParam<Host> {};

TEST_P(HostWithAModeOfItsOwn, GetsTheSameAnswersAndItsModeBack) {
  static const Seen usual = everything_seen();
  const HostMode set(GetParam().rounding, GetParam().strange_numbers);
  const Mode mode;
  const Seen seen = everything_seen();
  EXPECT_TRUE(seen.answers == usual.answers);
  EXPECT_TRUE(seen.artifacts.reader == usual.artifacts.reader);
  EXPECT_TRUE(seen.artifacts.classifier == usual.artifacts.classifier);
  EXPECT_TRUE(seen.artifacts.segmenter == usual.artifacts.segmenter);
  EXPECT_GT(seen.modes.size(), samples::kIds.size() * 4);
  EXPECT_EQ(std::count(seen.modes.begin(), seen.modes.end(), mode),
            static_cast<std::ptrdiff_t>(seen.modes.size()));
}

INSTANTIATE_TEST_SUITE_P(Modes, HostWithAModeOfItsOwn,
                         testing::Values(Host{"upward", FE_UPWARD, false},
                                         Host{"downward_strange", FE_DOWNWARD, true}),
                         [](const auto& info) { return info.param.name; });

}  // namespace
