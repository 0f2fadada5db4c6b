// Which engine exception becomes which library exception.

#include <algorithm>
#include <memory>
#include <set>

#include "bridge/Guard.h"
#include "engine_failures.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

using Wrapper::kQvExceptionMappings;
using Wrapper::TryQvCallWithReturn;

TEST(ExceptionMap, HasOneRowForEachEngineExceptionAndSaysWhatTheRowDoes) {
  const std::vector<FailureCase> cases = FailureCases();
  std::set<std::string> seen;
  for (const auto& row : kQvExceptionMappings) {
    EXPECT_TRUE(seen.insert(row.engineException).second) << row.engineException << " twice";
    const auto expected = std::find_if(cases.begin(), cases.end(), [&](const FailureCase& failure) {
      return failure.engine_type == row.engineException;
    });
    ASSERT_NE(expected, cases.end()) << row.engineException;
    EXPECT_THAT(expected->seen_by_host(""), testing::HasSubstr(row.libraryException));
    EXPECT_EQ(ThrownBy([&] { row.raise("t"); }), expected->seen_by_host("t"));
  }
}

TEST(Guard, ReturnsExactlyWhatTheCallReturns) {
  int calls = 0;
  EXPECT_EQ(TryQvCallWithReturn([&] { return ++calls; }), 1);
  const std::unique_ptr<int> moved = TryQvCallWithReturn([] { return std::make_unique<int>(7); });
  EXPECT_EQ(*moved, 7);
  int target = 0;
  int& reference = TryQvCallWithReturn([&]() -> int& { return target; });
  EXPECT_EQ(&reference, &target);
  const auto nothing = [] {};
  static_assert(std::is_void_v<decltype(TryQvCallWithReturn(nothing))>);
}

TEST(Guard, ConvertsOnlyOnceWhenNested) {
  const auto inner = [] { TryQvCallWithReturn([] { throw telvar::types::invalid_roi("inner"); }); };
  EXPECT_EQ(ThrownBy([&] { TryQvCallWithReturn(inner); }), An<InvalidROIException>("inner"));
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
