// The factory: what it makes works without it, over the engine itself.

#include "factory/WrapperFactory.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

class Factory : public ScriptedTest {};

TEST_F(Factory, MakesToolsThatOutliveIt) {
  auto factory = std::make_shared<WrapperFactory>();
  const auto ocr = factory->CreateSmartOCRWrapper(std::make_unique<OcrTool::Data>("o", ""));
  const auto classifier =
      factory->CreateSmartClassifierWrapper(std::make_unique<ClassifierTool::Data>("c", ""));
  const auto segmenter =
      factory->CreateSmartSegmenterWrapper(std::make_unique<SegmenterTool::Data>("s", ""));
  EXPECT_EQ(factory.use_count(), 1);
  factory.reset();

  ocr->Process(HostImage(), nullptr, {10, 20});
  classifier->Process(HostImage());
  segmenter->Process(HostImage(), nullptr);
  EXPECT_EQ(engine::last("ocr.model").artifact, "o");
  EXPECT_EQ(engine::last("classifier.model").artifact, "c");
  EXPECT_EQ(engine::last("segmenter.model").artifact, "s");
}

TEST_F(Factory, PassesOnWhatMakingAToolThrowsAndFreesTheRecord) {
  struct Watched : ClassifierTool::Data {
    explicit Watched(bool& destroyed) : Data("artifact", ""), destroyed_(destroyed) {}
    ~Watched() override { destroyed_ = true; }
    bool& destroyed_;
  };
  bool destroyed = false;
  engine::fail("classifier.cache.create", std::bad_alloc());
  WrapperFactory factory;
  EXPECT_THROW(factory.CreateSmartClassifierWrapper(std::make_unique<Watched>(destroyed)),
               std::bad_alloc);
  EXPECT_TRUE(destroyed);
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
