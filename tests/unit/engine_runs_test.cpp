// Every way in which a tool runs the engine: which exceptions come out, what a host's loader may
// do, and answers that do not parse.

#include <functional>
#include <set>

#include "engine_failures.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

struct EngineRun {
  const char* engine_call;
  const char* way;
  void (*run)(const Types::ImageLoader& loader);
};

template <typename Tool>
void Process(const Types::ImageLoader&) {
  auto tool = MakeTool<Tool>();
  Tool::Process(tool);
}
template <typename Tool>
void Train(const Types::ImageLoader& loader) {
  auto tool = MakeTool<Tool>();
  Tool::Train(tool, loader);
}
template <typename Tool>
void Batch(const Types::ImageLoader& loader) {
  auto tool = MakeTool<Tool>();
  Tool::Batch(tool, loader);
}
void TrainWithMasks(const Types::ImageLoader& loader) {
  engine::script().ask_masks = engine::script().ask_images;
  auto tool = MakeTool<SegmenterTool>();
  tool.Train({}, LoadHostImage, loader);
}

const EngineRun kWithoutLoader[] = {
    {"ocr.model", "Process", Process<OcrTool>},
    {"ocr.process", "Process", Process<OcrTool>},
    {"ocr.model", "Train", Train<OcrTool>},
    {"classifier.model", "Process", Process<ClassifierTool>},
    {"classifier.process", "Process", Process<ClassifierTool>},
    {"classifier.model", "Train", Train<ClassifierTool>},
    {"segmenter.model", "Process", Process<SegmenterTool>},
    {"segmenter.process", "Process", Process<SegmenterTool>},
    {"segmenter.model", "Train", Train<SegmenterTool>},
};
const EngineRun kWithLoader[] = {
    {"ocr.train", "Train", Train<OcrTool>},
    {"classifier.train", "Train", Train<ClassifierTool>},
    {"classifier.batch", "BatchProcess", Batch<ClassifierTool>},
    {"segmenter.train", "Train", Train<SegmenterTool>},
    {"segmenter.train", "TrainWithMasks", TrainWithMasks},
    {"segmenter.batch", "BatchProcess", Batch<SegmenterTool>},
};

std::string NameOf(const testing::TestParamInfo<EngineRun>& info) {
  std::string name = std::string(info.param.engine_call) + "_in_" + info.param.way;
  name[name.find('.')] = '_';
  return name;
}

class ScriptedRun : public testing::TestWithParam<EngineRun> {
 protected:
  ScriptedRun() { engine::reset(); }
  std::string ThrownByRun(const Types::ImageLoader& loader = LoadHostImage) const {
    return ThrownBy([&] { GetParam().run(loader); });
  }
};

class GuardedRun : public ScriptedRun {};
INSTANTIATE_TEST_SUITE_P(Models, GuardedRun, testing::ValuesIn(kWithoutLoader), NameOf);
INSTANTIATE_TEST_SUITE_P(Data, GuardedRun, testing::ValuesIn(kWithLoader), NameOf);

TEST_P(GuardedRun, MapsEveryEngineExceptionAndKeepsItsText) {
  for (const FailureCase& failure : FailureCases()) {
    failure.schedule(GetParam().engine_call, "text");
    EXPECT_EQ(ThrownByRun(), failure.seen_by_host("text")) << failure.engine_type;
  }
}

TEST_P(GuardedRun, LetsEveryOtherExceptionPass) {
  for (const FailureCase& failure : ForeignFailures()) {
    failure.schedule(GetParam().engine_call, "text");
    EXPECT_EQ(ThrownByRun(), failure.seen_by_host("text")) << failure.engine_type;
  }
}

TEST_P(GuardedRun, TakesAnAnswerThatDoesNotParseForAnEmptyOne) {
  for (const std::string& answer : {std::string(), std::string("\xff\xff\xff\xff"), OddBytes()}) {
    engine::script().answers[GetParam().engine_call] = answer;
    EXPECT_EQ(ThrownByRun(), "nothing");
  }
}

class LoaderRun : public ScriptedRun {
 protected:
  /// What the engine got from the run's loader.
  std::vector<engine::Loaded> Loaded() const {
    const engine::Call call = engine::last(GetParam().engine_call);
    return std::string(GetParam().way) == "TrainWithMasks" ? call.masks : call.images;
  }
};
INSTANTIATE_TEST_SUITE_P(All, LoaderRun, testing::ValuesIn(kWithLoader), NameOf);

TEST_P(LoaderRun, AsksTheHostForTheEnginesIdentifiersAndReleasesEachImage) {
  const std::vector<std::string> identifiers = {"b", "", OddBytes(), std::string(1 << 20, 'x'),
                                                "b"};
  engine::script().ask_images = identifiers;
  std::vector<std::string> asked;
  std::weak_ptr<Types::Image> previous;
  GetParam().run([&](const std::string& identifier) {
    EXPECT_TRUE(previous.expired());
    asked.push_back(identifier);
    const auto image = HostImage(static_cast<unsigned char>(10 * asked.size()));
    previous = image;
    return image;
  });
  EXPECT_EQ(asked, identifiers);
  EXPECT_TRUE(previous.expired());

  const std::vector<engine::Loaded> loaded = Loaded();
  ASSERT_EQ(loaded.size(), identifiers.size());
  for (std::size_t i = 0; i < loaded.size(); ++i) {
    EXPECT_THAT(loaded[i].image.layout, testing::ElementsAre(4, 2, 6, 1, 8, 0));
    ASSERT_EQ(loaded[i].image.pixels.size(), 12U);
    EXPECT_EQ(loaded[i].image.pixels[0], 10 * (i + 1));
    EXPECT_EQ(loaded[i].image.pixels[11], 10 * (i + 1) + 11);
  }
}

TEST_P(LoaderRun, TakesAnImageWithoutPixelsForAnEmptyOne) {
  engine::script().ask_images = {"no pixels", "no image"};
  GetParam().run([](const std::string& identifier) {
    return identifier == "no image"
               ? nullptr
               : std::make_shared<Types::Image>(Types::ImageLayout{4, 2, 6, 1, 8, 0}, nullptr);
  });
  for (const engine::Loaded& loaded : Loaded()) {
    EXPECT_EQ(loaded.image.layout, telvar::types::ImageLayout{}) << loaded.image_id;
    EXPECT_TRUE(loaded.image.pixels.empty()) << loaded.image_id;
  }
}

TEST_P(LoaderRun, PassesWhatTheEnginesImageRefusesWithItsText) {
  const auto loader = [](std::uint32_t stride) {
    return [=](const std::string&) {
      return Types::MakeImage({4, 2, stride, 1, 8, 0}, std::vector<unsigned char>(8));
    };
  };
  engine::script().ask_images = {"a"};
  EXPECT_EQ(ThrownByRun(loader(3)),
            An<InvalidImageException>("image of 4 x 2 px, stride 3 bytes, 1 channels of 8 bits: a "
                                      "row takes 4 bytes, more than the stride"));
  EXPECT_EQ(ThrownByRun(loader(0x40000000)),
            An<InvalidImageSizeException>("image of 4 x 2 px, stride 1073741824 bytes, 1 channels "
                                          "of 8 bits: 2147483648 bytes, the limit is 2147483647"));
}

TEST_P(LoaderRun, PassesWhatTheHostsLoaderThrows) {
  struct HostError : std::runtime_error {
    using runtime_error::runtime_error;
  };
  engine::script().ask_images = {"a", "b"};
  EXPECT_EQ(ThrownByRun([](const std::string& identifier) {
              if (identifier == "b") throw HostError("cannot read " + identifier);
              return HostImage();
            }),
            An<HostError>("cannot read b"));
  EXPECT_EQ(ThrownByRun([](const std::string&) -> std::shared_ptr<Types::Image> { throw 1; }),
            "no std::exception");
}

TEST_P(LoaderRun, ReportsAnEmptyLoaderOnlyWhenTheEngineAsks) {
  EXPECT_EQ(ThrownByRun(nullptr), "nothing");
  engine::script().ask_images = {"a"};
  EXPECT_EQ(ThrownByRun(nullptr), An<std::bad_function_call>(std::bad_function_call().what()));
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
