// What the three tools share: construction, the train cache, the lazily built model, GetData.

#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

template <typename Tool>
class ToolLifecycle : public ScriptedTest {
 protected:
  using Data = typename Tool::Data;

  static std::string Call(const std::string& name) { return std::string(Tool::kName) + "." + name; }
  static std::size_t Count(const std::string& name) { return engine::count(Call(name)); }
  static engine::Call Last(const std::string& name) { return engine::last(Call(name)); }

  static std::vector<std::string> CallNames() {
    std::vector<std::string> names;
    for (const engine::Call& call : engine::script().calls) {
      names.push_back(call.name.substr(call.name.find('.') + 1));
    }
    return names;
  }

  static void ExpectCreateArguments(const engine::Call& call) {
    const bool has_flag = std::string(Tool::kName) != "ocr";
    const bool has_capacity = std::string(Tool::kName) != "classifier";
    EXPECT_EQ(call.keep_images, has_flag ? std::optional<bool>(false) : std::nullopt);
    EXPECT_EQ(call.capacity, has_capacity ? std::optional<unsigned long long>(0xFFFFFFFFFFFFFFFFULL)
                                          : std::nullopt);
  }
};

using Tools = testing::Types<OcrTool, ClassifierTool, SegmenterTool>;
TYPED_TEST_SUITE(ToolLifecycle, Tools);

TYPED_TEST(ToolLifecycle, CreatesACacheAndBuildsNoModel) {
  const auto tool = MakeTool<TypeParam>("no artifact that an engine would take", "");
  EXPECT_THAT(this->CallNames(), testing::ElementsAre("cache.create"));
  this->ExpectCreateArguments(this->Last("cache.create"));
}

TYPED_TEST(ToolLifecycle, ConsumesItsDataRecord) {
  struct Watched : TestFixture::Data {
    explicit Watched(bool& destroyed)
        : TestFixture::Data("artifact", engine::saved_cache()), destroyed_(destroyed) {}
    ~Watched() override { destroyed_ = true; }
    bool& destroyed_;
  };
  bool destroyed = false;
  const typename TypeParam::Object tool(std::make_unique<Watched>(destroyed), nullptr);
  EXPECT_TRUE(destroyed);
}

TYPED_TEST(ToolLifecycle, LoadsTheCacheOfTheDataRecordByteForByte) {
  const std::string saved = engine::saved_cache(OddBytes() + "\r\n\x1a" + OddBytes());
  const auto tool = MakeTool<TypeParam>("artifact", saved);
  EXPECT_EQ(this->Last("cache.load").bytes, saved);
  EXPECT_EQ(this->Last("cache.load").object, this->Last("cache.create").object);
  EXPECT_EQ(tool.GetData()->trainCache, saved);
}

TYPED_TEST(ToolLifecycle, ReplacesACacheThatDoesNotLoadWhateverIsThrown) {
  const std::vector<void (*)(const std::string&)> failures = {
      [](const std::string&) {},  // the bytes are garbage
      [](const std::string& load) { engine::fail(load, telvar::types::read_error("damaged")); },
      [](const std::string& load) { engine::fail(load, std::bad_alloc()); },
      [](const std::string& load) { engine::fail(load, 42); },
  };
  for (std::size_t i = 0; i < failures.size(); ++i) {
    SCOPED_TRACE(i);
    engine::reset();
    failures[i](this->Call("cache.load"));
    auto tool = MakeTool<TypeParam>("artifact", i == 0 ? "garbage" : engine::saved_cache("kept"));
    // The cache whose load failed half way is gone, with what it had taken in.
    EXPECT_THAT(this->CallNames(), testing::ElementsAre("cache.create", "cache.load",
                                                        "cache.create", "cache.destroy"));
    for (const engine::Call& create : engine::calls(this->Call("cache.create"))) {
      this->ExpectCreateArguments(create);
    }
    const int fresh = this->Last("cache.create").object;
    EXPECT_NE(this->Last("cache.destroy").object, fresh);
    EXPECT_EQ(tool.GetData()->trainCache, engine::saved_cache());
    TypeParam::Train(tool);
    EXPECT_EQ(this->Last("train").cache, fresh);
  }
}

TYPED_TEST(ToolLifecycle, IsNotMadeWithoutACache) {
  for (const int nth : {1, 2}) {
    engine::fail(this->Call("cache.create"), telvar::types::write_error("no room"), nth);
    EXPECT_EQ(ThrownBy([&] { MakeTool<TypeParam>("artifact", nth == 2 ? "garbage" : ""); }),
              An<telvar::types::write_error>("no room"));
  }
}

TYPED_TEST(ToolLifecycle, GivesItsStateBackAsOftenAsAsked) {
  const std::string artifact = OddBytes() + std::string(100000, '\xfe');
  const auto tool = MakeTool<TypeParam>(artifact, engine::saved_cache("state"));
  for (int i = 0; i < 2; ++i) {
    const auto data = tool.GetData();
    EXPECT_EQ(data->artifact, artifact);
    EXPECT_EQ(data->trainCache, engine::saved_cache("state"));
  }
  EXPECT_EQ(this->Count("model"), 0U);
}

TYPED_TEST(ToolLifecycle, ResumesFromTheStateThatItGaveBack) {
  auto first = MakeTool<TypeParam>("old", "");
  engine::script().new_artifact = "new";
  engine::script().cache_update = "prepared samples";
  TypeParam::Train(first);
  auto data = first.GetData();
  const typename TypeParam::Object second(std::move(data), nullptr);
  EXPECT_EQ(second.GetData()->artifact, "new");
  EXPECT_EQ(second.GetData()->trainCache, engine::saved_cache("prepared samples"));
}

TYPED_TEST(ToolLifecycle, SavesItsCacheOutsideTheGuard) {
  const auto tool = MakeTool<TypeParam>();
  engine::fail(this->Call("cache.save"), telvar::types::write_error("disk full"));
  EXPECT_EQ(ThrownBy([&] { tool.GetData(); }), An<telvar::types::write_error>("disk full"));
  EXPECT_EQ(tool.GetData()->artifact, "artifact");
}

TYPED_TEST(ToolLifecycle, ThrowsWhatTheStreamSaysRatherThanKeepACutCache) {
  const auto tool = MakeTool<TypeParam>("artifact", engine::saved_cache("state"));
  for (const auto failure : {std::ios::badbit, std::ios::failbit}) {
    engine::script().save_state = failure;
    EXPECT_THROW(tool.GetData(), std::ios_base::failure);
  }
  engine::script().save_state = std::ios::goodbit;
  EXPECT_EQ(tool.GetData()->trainCache, engine::saved_cache("state"));
}

TYPED_TEST(ToolLifecycle, BuildsItsModelOnFirstUseOnAllOfTheCpuAndKeepsIt) {
  auto tool = MakeTool<TypeParam>(OddBytes());
  TypeParam::Process(tool);
  const engine::Call model = this->Last("model");
  EXPECT_EQ(model.artifact, OddBytes());
  EXPECT_EQ(model.cpu_threads, telvar::types::CpuDevice().threads());
  TypeParam::Process(tool);
  EXPECT_EQ(this->Count("model"), 1U);
  EXPECT_EQ(this->Last("process").object, model.object);
}

TYPED_TEST(ToolLifecycle, TriesAgainToBuildAModelThatCouldNotBeBuilt) {
  auto tool = MakeTool<TypeParam>();
  engine::fail(this->Call("model"), telvar::types::training_artifact_tool_type_error("other tool"));
  EXPECT_EQ(ThrownBy([&] { TypeParam::Process(tool); }),
            An<InvalidTrainingArtifactException>("other tool"));
  EXPECT_EQ(this->Count("process"), 0U);
  TypeParam::Process(tool);
  EXPECT_EQ(this->Last("process").object, this->Last("model").object);
}

TYPED_TEST(ToolLifecycle, KeepsItsModelWhenACallFails) {
  auto tool = MakeTool<TypeParam>();
  TypeParam::Process(tool);
  engine::fail(this->Call("process"), telvar::types::invalid_roi("outside"));
  EXPECT_EQ(ThrownBy([&] { TypeParam::Process(tool); }), An<InvalidROIException>("outside"));
  if constexpr (!std::is_same_v<TypeParam, OcrTool>) {
    engine::fail(this->Call("batch"), telvar::types::invalid_dataset("odd"));
    EXPECT_EQ(ThrownBy([&] { TypeParam::Batch(tool); }), An<InvalidArgumentException>("odd"));
  }
  TypeParam::Process(tool);
  EXPECT_EQ(this->Count("model"), 1U);
}

TYPED_TEST(ToolLifecycle, ReportsAMissingArtifactOnFirstUse) {
  auto tool = MakeTool<TypeParam>("");
  EXPECT_EQ(ThrownBy([&] { TypeParam::Process(tool); }),
            An<InvalidTrainingArtifactException>("the artifact is empty"));
  EXPECT_EQ(tool.GetData()->artifact, "");
  EXPECT_EQ(tool.GetData()->trainCache, engine::saved_cache());
}

TYPED_TEST(ToolLifecycle, DestroysItsModelBeforeItsCache) {
  {
    auto tool = MakeTool<TypeParam>();
    TypeParam::Process(tool);
    engine::script().calls.clear();
  }
  EXPECT_THAT(this->CallNames(), testing::ElementsAre("model.destroy", "cache.destroy"));
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
