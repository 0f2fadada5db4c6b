// The engine access objects: which of their operations guard, and substitutes for them.

#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

namespace qv = telvar::qv;
using telvar::types::AffineTransform;
using telvar::types::ImageView;
using Size = telvar::types::Size2<unsigned>;

class Access : public ScriptedTest {
 protected:
  template <typename Call>
  static std::string ThrownWhenFailing(const std::string& name, Call&& call) {
    engine::fail(name, telvar::types::invalid_image("text"));
    return ThrownBy(call);
  }

  const std::string unmapped_ = An<telvar::types::invalid_image>("text");
  const std::string mapped_ = An<InvalidImageException>("text");
  const telvar::types::CpuDevice device_;
  const ImageView view_{1, 1, 1, 1, 8, 0, nullptr};
  const AffineTransform transform_{1, 2, 3, 4, 5, 6};
};

TEST_F(Access, OfTheReaderGuardsTrainingAlone) {
  const Wrapper::TelvarAccess access;
  const qv::ocr::Model model("artifact", "", device_);
  const auto cache = qv::ocr::TrainCache::create(1);
  EXPECT_EQ(ThrownWhenFailing("ocr.process",
                              [&] { access.Process(model, view_, transform_, Size(7, 8)); }),
            unmapped_);
  EXPECT_THAT(engine::last("ocr.process").transform, testing::ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(engine::last("ocr.process").size, testing::ElementsAre(7, 8));
  EXPECT_EQ(ThrownWhenFailing("ocr.train", [&] { access.Train("", "", "", nullptr, *cache); }),
            mapped_);
}

TEST_F(Access, OfTheClassifierGuardsTrainingAndBatches) {
  const Wrapper::TelvarClassifierAccess access;
  const qv::classifier::Model model("artifact", "", device_);
  const auto cache = qv::classifier::TrainCache::create(true);
  EXPECT_EQ(ThrownWhenFailing("classifier.process", [&] { access.Process(model, view_); }),
            unmapped_);
  EXPECT_EQ(
      ThrownWhenFailing("classifier.train", [&] { access.Train("", "", "", nullptr, *cache); }),
      mapped_);
  EXPECT_EQ(
      ThrownWhenFailing("classifier.batch", [&] { access.BatchProcess("", "", nullptr, *cache); }),
      mapped_);
}

TEST_F(Access, OfTheSegmenterGuardsBatchesAlone) {
  Wrapper::TelvarSegmenterAccess access;
  const qv::segmenter::Model model("artifact", "", device_);
  const auto cache = qv::segmenter::TrainCache::create(true, 1);
  EXPECT_EQ(ThrownWhenFailing("segmenter.process",
                              [&] { access.process(model, view_, transform_, Size(7, 8)); }),
            unmapped_);
  EXPECT_EQ(ThrownWhenFailing("segmenter.train",
                              [&] { access.train("", "", "", nullptr, nullptr, *cache, nullptr); }),
            unmapped_);
  EXPECT_EQ(ThrownWhenFailing("segmenter.batch",
                              [&] { access.BatchProcess("", "", nullptr, *cache, nullptr); }),
            mapped_);
}

// Substitutes that stand in for the engine: they refuse to process, and their training and batches
// give artifacts of their own.

struct OcrSubstitute : Wrapper::TelvarAccess {
  std::string Process(const qv::ocr::Model&, const ImageView&, const AffineTransform&,
                      const Size&) const override {
    throw telvar::types::invalid_roi("substitute");
  }
  std::tuple<std::string, std::string> Train(const std::string& artifact, const std::string&,
                                             const std::string&, const Wrapper::EngineImageLoader&,
                                             qv::ocr::TrainCache&) const override {
    return {"", artifact + "+"};
  }
};

struct ClassifierSubstitute : Wrapper::TelvarClassifierAccess {
  std::string Process(const qv::classifier::Model&, const ImageView&) const override {
    throw telvar::types::invalid_roi("substitute");
  }
  std::tuple<std::string, std::string> Train(const std::string& artifact, const std::string&,
                                             const std::string&, const Wrapper::EngineImageLoader&,
                                             qv::classifier::TrainCache&) const override {
    return {"", artifact + "+"};
  }
  std::string BatchProcess(const std::string&, const std::string&,
                           const Wrapper::EngineImageLoader&,
                           qv::classifier::TrainCache&) const override {
    throw telvar::types::invalid_roi("unguarded substitute");
  }
};

struct SegmenterSubstitute : Wrapper::TelvarSegmenterAccess {
  std::tuple<std::string, std::map<std::string, telvar::types::Image>> process(
      const qv::segmenter::Model&, const ImageView&, const AffineTransform&,
      const Size&) const override {
    throw telvar::types::invalid_roi("substitute");
  }
  std::tuple<std::string, std::string> train(const std::string& artifact, const std::string&,
                                             const std::string&, const Wrapper::EngineImageLoader&,
                                             const Wrapper::EngineImageLoader&,
                                             qv::segmenter::TrainCache&,
                                             const Wrapper::ResultImageWriter&) override {
    return {"", artifact + "+"};
  }
  std::string BatchProcess(const std::string&, const std::string&,
                           const Wrapper::EngineImageLoader&, qv::segmenter::TrainCache&,
                           const Wrapper::ResultImageWriter&) const override {
    throw telvar::types::invalid_roi("unguarded substitute");
  }
};

template <typename Tool_, typename Substitute_>
struct Substituted {
  using Tool = Tool_;
  using Substitute = Substitute_;
};

template <typename Pair>
class SubstitutedAccess : public ScriptedTest {};

using Pairs = testing::Types<Substituted<OcrTool, OcrSubstitute>,
                             Substituted<ClassifierTool, ClassifierSubstitute>,
                             Substituted<SegmenterTool, SegmenterSubstitute>>;
TYPED_TEST_SUITE(SubstitutedAccess, Pairs);

TYPED_TEST(SubstitutedAccess, StandsInForTheEngineInsideTheToolsGuard) {
  using Tool = typename TypeParam::Tool;
  auto tool = MakeTool<Tool>("artifact", "", std::make_shared<typename TypeParam::Substitute>());
  EXPECT_EQ(ThrownBy([&] { Tool::Process(tool); }), An<InvalidROIException>("substitute"));
  Tool::Train(tool);
  EXPECT_EQ(tool.GetData()->artifact, "artifact+");
  EXPECT_EQ(engine::count(std::string(Tool::kName) + ".train"), 0U);
  if constexpr (!std::is_same_v<Tool, OcrTool>) {
    // A batch is guarded by the access object, so a substitute brings its own guard or none.
    EXPECT_EQ(ThrownBy([&] { Tool::Batch(tool); }),
              An<telvar::types::invalid_roi>("unguarded substitute"));
  }
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
