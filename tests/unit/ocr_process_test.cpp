// The character reader: what the engine sees of a processing call, and how its answer comes back.

#include <cmath>
#include <limits>

#include "telvar_msg/ocr_result.pb.h"
#include "telvar_msg/ocr_training.pb.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

using telvar_msg::qv::ocr::Result;
using telvar_msg::qv::ocr::RuntimeParameters;
using Types::SmartOCR::ProcessResult;
using Types::SmartOCR::Size;

class OcrProcess : public ScriptedTest {
 protected:
  static ProcessResult Process(const Result& answer) {
    engine::script().answers["ocr.process"] = answer.SerializeAsString();
    return MakeTool<OcrTool>().Process(HostImage(), nullptr, {10, 20});
  }

  Wrapper::SmartOCRWrapper tool_ = MakeTool<OcrTool>();
};

TEST_F(OcrProcess, HandsTheEngineAViewOfTheImageAndTheRegionsTransform) {
  const auto image = HostImage();
  const auto roi = std::make_shared<Types::ROI>(3.0f, 4.0f, 0.0f, 0.0f, 5U, 6U);
  tool_.Process(image, roi, {10, 20});
  const engine::Call call = engine::last("ocr.process");
  EXPECT_THAT(call.layout, testing::ElementsAre(4, 2, 6, 1, 8, 0));
  EXPECT_EQ(call.pixels, image->pixels);
  EXPECT_THAT(call.transform, testing::ElementsAre(1, 0, 3, 0, 1, 4));
  EXPECT_TRUE(std::signbit(call.transform[1]));
  EXPECT_THAT(call.size, testing::ElementsAre(5, 6));
  EXPECT_EQ(image.use_count(), 1);
}

TEST_F(OcrProcess, TakesTheWholeImageWithoutARegion) {
  tool_.Process(HostImage(), nullptr, {10, 20});
  EXPECT_THAT(engine::last("ocr.process").transform, testing::ElementsAre(1, 0, 0, 0, 1, 0));
  EXPECT_THAT(engine::last("ocr.process").size, testing::ElementsAre(0, 0));
}

TEST_F(OcrProcess, GivesTheSizeToTheModelAsItIs) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  for (const Size& size : {Size(10, 20), Size(-0.0f, 1e-40f), Size(nan, infinity)}) {
    tool_.Process(HostImage(), nullptr, size);
    RuntimeParameters parameters;
    ASSERT_TRUE(parameters.ParseFromString(engine::last("ocr.model").parameters));
    EXPECT_THAT(parameters.width(), testing::NanSensitiveFloatEq(size.width));
    EXPECT_EQ(std::signbit(parameters.width()), std::signbit(size.width));
    EXPECT_THAT(parameters.height(), testing::NanSensitiveFloatEq(size.height));
  }
}

struct SizeCase {
  const char* name;
  std::vector<Size> sizes;  // processed one after the other
  std::size_t models;       // built for them
};

TEST_F(OcrProcess, RebuildsTheModelOnlyWhenTheSizeMoves) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  const std::vector<SizeCase> cases = {
      {"the same", {{10, 20}, {10, 20}}, 1},
      {"rounded", {{10, 20}, {10.00005f, 20}}, 1},
      {"another width", {{10, 20}, {10.0002f, 20}}, 2},
      {"another height", {{10, 20}, {10, 19.9998f}}, 2},
      {"creeping away from the built size", {{10, 20}, {10.00005f, 20}, {10.0002f, 20}}, 2},
      {"zero, the size before the first model", {{0, 0}, {0, 0}}, 1},
      // The float nearest to 0.0001 lies below it.
      {"exactly the tolerance as a float", {{0, 0}, {0.0001f, 0}}, 1},
      {"a difference that only single precision rounds down", {{-2.6e-12f, 0}, {0.0001f, 0}}, 1},
      {"a difference just beyond", {{0, 0}, {0.00010001f, 0}}, 2},
      {"there and back", {{10, 20}, {11, 20}, {10, 20}}, 3},
      {"not a number, which equals nothing", {{nan, 20}, {nan, 20}}, 2},
      {"infinite, whose difference is not a number", {{10, infinity}, {10, infinity}}, 2},
  };
  for (const SizeCase& c : cases) {
    engine::reset();
    auto tool = MakeTool<OcrTool>();
    for (const Size& size : c.sizes) tool.Process(HostImage(), nullptr, size);
    EXPECT_EQ(engine::count("ocr.model"), c.models) << c.name;
    EXPECT_EQ(engine::last("ocr.process").object, engine::last("ocr.model").object) << c.name;
  }
}

TEST_F(OcrProcess, KeepsThePreviousModelUnderTheNewSizeWhenRebuildingFails) {
  tool_.Process(HostImage(), nullptr, {10, 20});
  const int first = engine::last("ocr.model").object;
  engine::fail("ocr.model", telvar::types::invalid_parameters("too small"));
  EXPECT_EQ(ThrownBy([&] {
              tool_.Process(HostImage(), nullptr, {1, 1});
            }),
            An<InvalidArgumentException>("too small"));
  tool_.Process(HostImage(), nullptr, {1, 1});
  EXPECT_EQ(engine::count("ocr.model"), 2U);
  EXPECT_EQ(engine::last("ocr.process").object, first);
}

TEST_F(OcrProcess, ConvertsEveryFieldInTheEnginesOrder) {
  Result answer;
  answer.mutable_processing_time()->set_nanos(2999999);
  auto& sample = *answer.mutable_sample();
  sample.set_first_value(0.1f);
  sample.set_second_value(-0.0f);
  auto& character = *sample.add_characters();
  character.set_first_value(1.1f);
  character.set_second_value(2.2f);
  character.set_third_value(std::numeric_limits<float>::infinity());
  for (const auto& [id, score] : {std::pair("low", 0.1f), {"high", 0.9f}, {"low", 0.5f}}) {
    auto& category = *character.add_category_scores();
    category.set_category_id(id);
    category.set_score(score);
  }
  sample.add_characters();
  auto& line = *sample.add_lines();
  line.set_text(OddBytes());
  for (const int index : {1, 0, 99, -1}) line.add_indexes(index);
  sample.add_lines();

  const ProcessResult result = Process(answer);
  EXPECT_EQ(result.processingTime, 2.0);
  EXPECT_EQ(result.sample.firstValue, double{0.1f});
  EXPECT_TRUE(std::signbit(result.sample.secondValue));

  ASSERT_EQ(result.sample.characters->size(), 2U);
  const auto& first = result.sample.characters->at(0);
  EXPECT_EQ(first.firstValue, double{1.1f});
  EXPECT_EQ(first.secondValue, double{2.2f});
  EXPECT_EQ(first.thirdValue, std::numeric_limits<double>::infinity());
  std::vector<std::pair<std::string, double>> scores;
  for (const auto& score : *first.categoryResults)
    scores.emplace_back(score.categoryId, score.score);
  EXPECT_THAT(scores,
              testing::ElementsAre(std::pair("low", double{0.1f}), std::pair("high", double{0.9f}),
                                   std::pair("low", double{0.5f})));
  ASSERT_NE(result.sample.characters->at(1).categoryResults, nullptr);
  EXPECT_TRUE(result.sample.characters->at(1).categoryResults->empty());

  ASSERT_EQ(result.sample.lines->size(), 2U);
  EXPECT_EQ(result.sample.lines->at(0).text, OddBytes());
  EXPECT_THAT(result.sample.lines->at(0).indexes, testing::ElementsAre(1, 0, 99, -1));
  EXPECT_TRUE(result.sample.lines->at(1).indexes.empty());
}

TEST_F(OcrProcess, GivesEmptyListsForAnAnswerWithoutAnything) {
  for (const char* answer : {"", "\xff\xff"}) {
    engine::script().answers["ocr.process"] = answer;
    const ProcessResult result = tool_.Process(HostImage(), nullptr, {10, 20});
    ASSERT_NE(result.sample.characters, nullptr);
    EXPECT_TRUE(result.sample.characters->empty());
    ASSERT_NE(result.sample.lines, nullptr);
    EXPECT_TRUE(result.sample.lines->empty());
    EXPECT_EQ(result.processingTime, 0.0);
    EXPECT_EQ(result.fieldingResult.sample.characters, nullptr);
    EXPECT_EQ(result.fieldingResult.sample.lines, nullptr);
    EXPECT_EQ(result.fieldingResult.patternName, "");
  }
}

TEST_F(OcrProcess, KeepsWhatComesBeforeTheDamageInAnAnswer) {
  Result answer;
  answer.mutable_sample()->add_characters()->set_first_value(1);
  answer.mutable_processing_time()->set_seconds(1);
  const std::string whole = answer.SerializeAsString();
  engine::script().answers["ocr.process"] = whole.substr(0, whole.size() - 1);
  const ProcessResult result = tool_.Process(HostImage(), nullptr, {10, 20});
  EXPECT_EQ(result.sample.characters->size(), 1U);
}

TEST_F(OcrProcess, DropsThePartOfAMillisecond) {
  struct {
    std::int64_t seconds;
    int nanos;
    double milliseconds;
  } const cases[] = {
      {0, 1999900, 1}, {0, 999999, 0}, {0, -1999900, -1}, {3, 5000000, 3005}, {-3, 0, -3000}};
  for (const auto& c : cases) {
    Result answer;
    answer.mutable_processing_time()->set_seconds(c.seconds);
    answer.mutable_processing_time()->set_nanos(c.nanos);
    EXPECT_EQ(Process(answer).processingTime, c.milliseconds) << c.seconds << " s " << c.nanos;
  }
}

TEST_F(OcrProcess, ConvertsThousandsOfCharacters) {
  constexpr int kCharacters = 5000;
  Result answer;
  for (int i = 0; i < kCharacters; ++i) {
    auto& character = *answer.mutable_sample()->add_characters();
    character.set_first_value(static_cast<float>(i));
    for (int k = 0; k < 40; ++k) character.add_category_scores()->set_category_id(OddBytes());
  }
  answer.mutable_sample()->add_lines()->set_text(std::string(1 << 20, 'x'));
  testing::internal::CaptureStderr();
  const ProcessResult result = Process(answer);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_EQ(result.sample.characters->size(), std::size_t{kCharacters});
  EXPECT_EQ(result.sample.characters->back().firstValue, kCharacters - 1.0);
  EXPECT_EQ(result.sample.characters->back().categoryResults->back().categoryId, OddBytes());
  EXPECT_EQ(result.sample.lines->front().text.size(), std::size_t{1} << 20);
}

TEST_F(OcrProcess, SortsCharactersWithTheEngineAndOutsideTheGuard) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  engine::script().sorted = {{2, 0}, {}, {7}};
  const std::vector<std::pair<float, float>> points = {{1, 2}, {-3, 4}};
  EXPECT_EQ(tool_.SortCharacters(points, 2.5f), engine::script().sorted);
  EXPECT_EQ(engine::last("ocr.sort").points, points);
  EXPECT_EQ(engine::last("ocr.sort").value, 2.5f);

  engine::fail("ocr.sort", telvar::types::invalid_parameters("not finite"));
  EXPECT_EQ(ThrownBy([&] {
              tool_.SortCharacters({{nan, nan}}, nan);
            }),
            An<telvar::types::invalid_parameters>("not finite"));
  EXPECT_TRUE(std::isnan(engine::last("ocr.sort").points[0].first));
  EXPECT_EQ(engine::count("ocr.model"), 0U);
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
