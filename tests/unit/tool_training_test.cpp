// What the three tools share: training, what it leaves behind, and the state after a failure.

#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

template <typename Tool>
class ToolTraining : public ScriptedTest {
 protected:
  static std::string Call(const std::string& name) { return std::string(Tool::kName) + "." + name; }
  static std::size_t Count(const std::string& name) { return engine::count(Call(name)); }
  static engine::Call Last(const std::string& name) { return engine::last(Call(name)); }
};

using Tools = testing::Types<OcrTool, ClassifierTool, SegmenterTool>;
TYPED_TEST_SUITE(ToolTraining, Tools);

TYPED_TEST(ToolTraining, StartsFromTheHeldArtifactAndCache) {
  auto tool = MakeTool<TypeParam>(OddBytes(), engine::saved_cache("state"));
  TypeParam::Train(tool);
  EXPECT_EQ(this->Last("train").artifact, OddBytes());
  EXPECT_EQ(this->Last("train").cache, this->Last("cache.create").object);
}

TYPED_TEST(ToolTraining, InstallsTheNewArtifactAndBuildsItsModelAtOnce) {
  auto tool = MakeTool<TypeParam>("old");
  TypeParam::Process(tool);
  const int old_model = this->Last("model").object;
  engine::script().new_artifact = OddBytes();
  engine::script().cache_update = "prepared";
  TypeParam::Train(tool);
  EXPECT_EQ(this->Count("model"), 2U);
  EXPECT_EQ(this->Last("model").artifact, OddBytes());
  EXPECT_EQ(this->Last("model.destroy").object, old_model);
  EXPECT_EQ(tool.GetData()->artifact, OddBytes());
  EXPECT_EQ(tool.GetData()->trainCache, engine::saved_cache("prepared"));

  TypeParam::Process(tool);
  EXPECT_EQ(this->Count("model"), 2U);
  EXPECT_EQ(this->Last("process").object, this->Last("model").object);
  TypeParam::Train(tool);
  EXPECT_EQ(this->Last("train").artifact, OddBytes());
}

TYPED_TEST(ToolTraining, BuildsNoModelBeforeTheEngineHasTrained) {
  for (const char* artifact : {"", "old"}) {
    auto tool = MakeTool<TypeParam>(artifact);
    engine::script().calls.clear();
    TypeParam::Train(tool);
    ASSERT_EQ(engine::script().calls.size(), 2U) << artifact;
    EXPECT_EQ(engine::script().calls[0].name, this->Call("train"));
    EXPECT_EQ(engine::script().calls[1].name, this->Call("model"));
    EXPECT_EQ(engine::script().calls[1].artifact, "trained");
  }
}

TYPED_TEST(ToolTraining, BuildsTheModelAnewForAnArtifactEqualToTheHeldOne) {
  auto tool = MakeTool<TypeParam>("old");
  TypeParam::Process(tool);
  engine::script().new_artifact = "old";
  TypeParam::Train(tool);
  EXPECT_EQ(this->Count("model"), 2U);
  EXPECT_EQ(this->Last("model").artifact, "old");
}

TYPED_TEST(ToolTraining, KeepsArtifactAndModelWhenTheEngineGivesNoArtifact) {
  auto tool = MakeTool<TypeParam>("old");
  TypeParam::Process(tool);
  engine::script().new_artifact = "";
  TypeParam::Train(tool);
  EXPECT_EQ(this->Count("model"), 1U);
  EXPECT_EQ(tool.GetData()->artifact, "old");
}

TYPED_TEST(ToolTraining, BuildsAMissingModelFromTheOldArtifactWhenTheEngineGivesNone) {
  auto tool = MakeTool<TypeParam>("old");
  engine::script().new_artifact = "";
  TypeParam::Train(tool);
  EXPECT_EQ(this->Last("model").artifact, "old");

  auto untrained = MakeTool<TypeParam>("");
  EXPECT_EQ(ThrownBy([&] { TypeParam::Train(untrained); }),
            An<InvalidTrainingArtifactException>("the artifact is empty"));
}

TYPED_TEST(ToolTraining, LeavesArtifactAndModelAloneWhenTheEngineFails) {
  auto tool = MakeTool<TypeParam>("old");
  TypeParam::Process(tool);
  engine::script().cache_update = "half";
  engine::fail(this->Call("train"), telvar::types::invalid_dataset("no labels"));
  EXPECT_EQ(ThrownBy([&] { TypeParam::Train(tool); }), An<InvalidArgumentException>("no labels"));
  EXPECT_EQ(tool.GetData()->artifact, "old");
  EXPECT_EQ(tool.GetData()->trainCache, engine::saved_cache("half"));
  TypeParam::Process(tool);
  EXPECT_EQ(this->Count("model"), 1U);
}

TYPED_TEST(ToolTraining, HoldsTheNewArtifactAndTheOldModelWhenRebuildingFails) {
  auto tool = MakeTool<TypeParam>("old");
  TypeParam::Process(tool);
  const int old_model = this->Last("model").object;
  engine::script().new_artifact = "new";
  engine::script().cache_update = "prepared";
  engine::fail(this->Call("model"),
               telvar::types::training_artifact_unsupported_version("version 9"));
  EXPECT_EQ(ThrownBy([&] { TypeParam::Train(tool); }),
            An<UnsupportedTrainingArtifactVersionException>("version 9"));
  EXPECT_EQ(tool.GetData()->artifact, "new");
  EXPECT_EQ(tool.GetData()->trainCache, engine::saved_cache("prepared"));

  TypeParam::Process(tool);
  EXPECT_EQ(this->Count("model"), 2U);
  EXPECT_EQ(this->Last("process").object, old_model);
  EXPECT_EQ(this->Count("model.destroy"), 0U);
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
