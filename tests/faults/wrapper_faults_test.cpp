// What is left when memory runs out: the state that docs/errors.md promises, and nothing leaked.

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <set>
#include <type_traits>
#include <utility>

#include "allocations.h"
#include "descriptions.h"
#include "tools.h"

namespace faults {
namespace {

const std::string kNoMemory = "std::bad_alloc";
const std::string kBadFielding = "Invalid fielding pattern caused by empty lines or empty patterns";

struct Attempt {
  std::string answer;  // of the operation, or of its exception
  bool failed = false;
};

/// Starts the count of allocations, once.
using Start = std::function<void()>;

/// Describes what `run` returns or throws while the n-th allocation after its call of the `Start`
/// it gets fails; n = 0: none does.
template <typename Run>
Attempt Try(Run run, long n, Mode mode) {
  Attempt attempt;
  bool started = false;
  const Start start = [&] {
    if (!std::exchange(started, true)) FailAllocation(n, mode);
  };
  try {
    const auto result = run(start);
    attempt.failed = StopFailing();
    attempt.answer = Describe(result);
  } catch (const std::bad_alloc&) {
    attempt.failed = StopFailing();
    attempt.answer = kNoMemory;
  } catch (const TelvarException& error) {
    attempt.failed = StopFailing();
    attempt.answer = error.what();
  }
  return attempt;
}

/// What an operation may leave behind.
struct Promise {
  std::set<std::string> states;  // artifact and train cache, as GetData gives them
  std::set<std::string> refusals = {kNoMemory};
};

/// What building a message with a map may lose when it fails: the bytes of one key, which Protocol
/// Buffers makes before it sees to their release. Everything else may lose nothing.
constexpr long kOneKey = 1;

/// Runs `attempt` with a later allocation failing each time, until none fails, and checks that
/// nothing leaks beyond `lost`. `attempt` gets the number and the mode; it returns whether an
/// allocation failed.
template <typename AttemptOne>
void ForEachAllocation(AttemptOne attempt, long lost = 0) {
  for (const Mode mode : {Mode::kOnce, Mode::kFromThenOn}) {
    long n = 0;
    for (bool failed = true; failed && !testing::Test::HasFailure();) {
      engine::reset();
      const long before = LiveAllocations();
      SetScript();
      failed = attempt(++n, mode);
      engine::reset();
      ASSERT_GE(LiveAllocations(), before);
      ASSERT_LE(LiveAllocations(), before + (failed ? lost : 0)) << "allocation " << n << " leaks";
    }
    EXPECT_GT(n, 1) << "nothing was allocated";
  }
}

/// Runs `run` on fresh tools: it must answer in full or refuse, and the tool must go on working.
template <typename Tool, typename Run>
void Sweep(Run run, const Promise& promise, long lost = 0) {
  SetScript();
  const std::string processed = Describe(Tool::Process(*Make<Tool>()));
  const auto try_on = [&](auto& tool, long n, Mode mode) {
    SetScript();
    return Try([&](const Start& start) { return run(tool, start); }, n, mode);
  };
  const std::string answer = try_on(*Make<Tool>(), 0, Mode::kOnce).answer;
  ForEachAllocation(
      [&](long n, Mode mode) {
        const auto tool = Make<Tool>();
        const Attempt attempt = try_on(*tool, n, mode);
        EXPECT_TRUE(attempt.answer == answer || promise.refusals.count(attempt.answer))
            << "allocation " << n << ": " << attempt.answer;
        const std::string state = Describe(tool->GetData());
        EXPECT_TRUE(promise.states.count(state)) << "allocation " << n << ": " << state;
        SetScript();
        EXPECT_EQ(Describe(Tool::Process(*tool)), processed) << "allocation " << n;
        return attempt.failed;
      },
      lost);
}

const std::string kBefore = kArtifact + " / " + kCache;
const Promise kUnchanged{{kBefore}};
const Promise kCacheMayGrow{{kBefore, kArtifact + " / " + kNewCache}};
const Promise kTrained{{kBefore, kArtifact + " / " + kNewCache, kNewArtifact + " / " + kNewCache}};
const Promise kFielding{{kBefore}, {kNoMemory, kBadFielding}};

TEST(Allocations, OfTheLibraryAreCounted) {
  SetScript();
  const auto factory = NewFactory();
  auto data = std::make_unique<Ocr::Data>(kArtifact, kCache);
  const long before = TotalAllocations();
  const auto tool = factory->CreateSmartOCRWrapper(std::move(data));
  const long created = TotalAllocations();
  EXPECT_GT(created, before);
  // Six characters with two scores each, in the message and in the result.
  Ocr::Process(*tool);
  EXPECT_GT(TotalAllocations(), created + 24);
}

TEST(WantOfMemoryAtTheEntry, LeavesTheFactoryThatTheHostHolds) {
  ForEachAllocation([](long n, Mode mode) {
    std::shared_ptr<Types::IWrapperFactory> factory = NewFactory();
    const auto held = factory;
    bool refused = false;
    FailAllocation(n, mode);
    try {
      CreateWrapperFactory(factory);
    } catch (const std::bad_alloc&) {
      refused = true;
    }
    const bool failed = StopFailing();
    EXPECT_EQ(refused, failed);
    EXPECT_EQ(factory == held, refused);
    EXPECT_EQ(Describe(Ocr::Create(*factory, std::make_unique<Ocr::Data>(kArtifact, kCache))),
              kBefore);
    return failed;
  });
}

template <typename Tool>
class WantOfMemory : public testing::Test {};
using Tools = testing::Types<Ocr, Classifier, Segmenter>;
TYPED_TEST_SUITE(WantOfMemory, Tools);

TYPED_TEST(WantOfMemory, LeavesNoToolBehind) {
  // A train cache that cannot be restored is replaced by an empty one.
  const std::set<std::string> allowed{kBefore, kArtifact + " / " + engine::saved_cache(),
                                      kNoMemory};
  ForEachAllocation([&](long n, Mode mode) {
    const auto factory = NewFactory();
    auto data = std::make_unique<typename TypeParam::Data>(kArtifact, kCache);
    const auto create = [&](const Start& start) {
      start();
      return TypeParam::Create(*factory, std::move(data));
    };
    const Attempt attempt = Try(create, n, mode);
    EXPECT_TRUE(allowed.count(attempt.answer)) << "allocation " << n << ": " << attempt.answer;
    return attempt.failed;
  });
}

TYPED_TEST(WantOfMemory, LeavesTheStateToProcess) {
  const auto process = [](auto& tool, const Start& start) {
    start();
    return TypeParam::Process(tool);
  };
  Sweep<TypeParam>(process, kUnchanged);
}

TYPED_TEST(WantOfMemory, LeavesTheStateToGetData) {
  const auto get_data = [](auto& tool, const Start& start) {
    start();
    return tool.GetData();
  };
  Sweep<TypeParam>(get_data, kUnchanged);
}

TYPED_TEST(WantOfMemory, LeavesAWholeArtifactToTrain) {
  for (const bool with_samples : {false, true}) {
    const auto train = [&](auto& tool, const Start& start) {
      start();
      return TypeParam::Train(tool, with_samples, HostImage);
    };
    Sweep<TypeParam>(train, kTrained, with_samples ? kOneKey : 0);
  }
}

template <typename Tool>
class WantOfMemoryInBatch : public testing::Test {};
using BatchTools = testing::Types<Classifier, Segmenter>;
TYPED_TEST_SUITE(WantOfMemoryInBatch, BatchTools);

TYPED_TEST(WantOfMemoryInBatch, LeavesTheArtifact) {
  for (const bool with_samples : {false, true}) {
    const auto batch = [&](auto& tool, const Start& start) {
      start();
      return Batch(tool, with_samples, HostImage);
    };
    Sweep<TypeParam>(batch, kCacheMayGrow, with_samples ? kOneKey : 0);
  }
}

TEST(WantOfMemoryInTheReader, LeavesTheStateToBasicFielding) {
  const auto basic = [](auto& tool, const Start& start) {
    start();
    return tool.Process(HostImage(), nullptr, {10.0f, 20.0f},
                        Types::SmartOCR::BasicFielding(kId, 3));
  };
  Sweep<Ocr>(basic, kFielding);
}

TEST(WantOfMemoryInTheReader, LeavesTheStateToAdvancedFielding) {
  Types::SmartOCR::AdvancedFielding patterns;
  for (const std::string& id : ManyIds()) patterns.patterns[id] = {{kId, kOtherId}, {kOtherId}};
  const auto advanced = [&](auto& tool, const Start& start) {
    start();
    return tool.Process(HostImage(), nullptr, {10.0f, 20.0f}, patterns);
  };
  Sweep<Ocr>(advanced, kFielding, kOneKey);
}

TEST(WantOfMemoryInTheReader, LeavesTheStateToSortCharacters) {
  const auto sort = [](auto& tool, const Start& start) {
    start();
    return tool.SortCharacters({{1.f, 2.f}, {3.f, 4.f}}, 5.f);
  };
  Sweep<Ocr>(sort, kUnchanged);
}

TYPED_TEST(WantOfMemory, IsNotBroughtAboutByUse) {
  const auto use = [] {
    SetScript();
    const auto tool = Make<TypeParam>();
    TypeParam::Train(*tool, true, HostImage);
    TypeParam::Process(*tool);
    if constexpr (!std::is_same_v<TypeParam, Ocr>) Batch(*tool, true, HostImage);
    tool->GetData();
    engine::reset();
  };
  use();
  const long before = LiveAllocations();
  for (int i = 0; i < 100; ++i) use();
  EXPECT_EQ(LiveAllocations(), before);
}

}  // namespace
}  // namespace faults
