// Distinct wrappers need no lock between them.

#include <thread>

#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

template <typename Tool>
class ToolThreads : public testing::Test {};

using Tools = testing::Types<OcrTool, ClassifierTool, SegmenterTool>;
TYPED_TEST_SUITE(ToolThreads, Tools);

TYPED_TEST(ToolThreads, MayUseTwoWrappersOfOneAccessObjectAtOnce) {
  const auto access = std::make_shared<typename TypeParam::Access>();
  std::string artifacts[2];
  std::size_t failures[2] = {};
  const auto work = [&](std::size_t index) {
    engine::reset();
    engine::script().ask_images = {"a", "b"};
    auto tool = MakeTool<TypeParam>("start", "", access);
    for (int round = 0; round < 50; ++round) {
      engine::script().new_artifact = "thread " + std::to_string(index);
      TypeParam::Train(tool);
      TypeParam::Process(tool);
      engine::fail(std::string(TypeParam::kName) + ".process", telvar::types::invalid_roi("x"));
      try {
        TypeParam::Process(tool);
      } catch (const InvalidROIException&) {
        ++failures[index];
      }
    }
    artifacts[index] = tool.GetData()->artifact;
  };
  std::thread other(work, 1);
  work(0);
  other.join();
  EXPECT_EQ(artifacts[0], "thread 0");
  EXPECT_EQ(artifacts[1], "thread 1");
  EXPECT_EQ(failures[0], 50U);
  EXPECT_EQ(failures[1], 50U);
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
