// Matching the read sample against patterns: what the engine's fielding gets, and its two failures.

#include "telvar_msg/ocr_fielding.pb.h"
#include "telvar_msg/ocr_result.pb.h"
#include "telvar_msg/ocr_training.pb.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

using telvar_msg::qv::ocr::Fielding;
using telvar_msg::qv::ocr::FieldingResult;
using telvar_msg::qv::ocr::Result;
using telvar_msg::qv::ocr::SampleResult;
using Types::SmartOCR::AdvancedFielding;
using Types::SmartOCR::BasicFielding;
using Types::SmartOCR::ProcessResult;

constexpr char kNoMatch[] = "No matching Fielding pattern was found";
constexpr char kInvalid[] = "Invalid fielding pattern caused by empty lines or empty patterns";

class OcrFielding : public ScriptedTest {
 protected:
  OcrFielding() {
    Result answer;
    answer.mutable_sample()->add_characters()->set_first_value(1);
    answer.mutable_sample()->add_lines()->set_text("read " + OddBytes());
    answer.mutable_processing_time()->set_nanos(7'500'000);
    engine::script().answers["ocr.process"] = answer.SerializeAsString();
    sample_ = answer.sample().SerializeAsString();
    Answer(true, "pattern");
  }

  static void Answer(bool matched, const std::string& name, const SampleResult& sample = {}) {
    FieldingResult verdict;
    verdict.set_matched(matched);
    verdict.set_pattern_name(name);
    engine::script().fielded = {sample.SerializeAsString(), verdict.SerializeAsString()};
  }

  template <typename FieldingRecord>
  ProcessResult Process(const FieldingRecord& fielding) {
    return tool_.Process(HostImage(), nullptr, {10, 20}, fielding);
  }

  /// The fielding message that the engine got last.
  static Fielding Seen() {
    Fielding message;
    EXPECT_TRUE(message.ParseFromString(engine::last("ocr.fielding").bytes));
    return message;
  }

  Wrapper::SmartOCRWrapper tool_ = MakeTool<OcrTool>();
  std::string sample_;
};

template <typename FieldingRecord>
class EitherFielding : public OcrFielding {};
using Fieldings = testing::Types<BasicFielding, AdvancedFielding>;
TYPED_TEST_SUITE(EitherFielding, Fieldings);

TEST_F(OcrFielding, SendsBasicFieldingAsItIs) {
  const BasicFielding cases[] = {
      {"0123456789", 5}, {"", 0}, {OddBytes(), -1}, {std::string(100000, 'x'), 0x7FFFFFFF}};
  for (const BasicFielding& fielding : cases) {
    Process(fielding);
    const Fielding seen = Seen();
    EXPECT_TRUE(seen.has_basic_fielding());
    EXPECT_FALSE(seen.has_advanced_fielding());
    EXPECT_EQ(seen.basic_fielding().character_class().allowed_characters(),
              fielding.allowedCharacters);
    EXPECT_EQ(seen.basic_fielding().count(), fielding.count);
  }
}

TEST_F(OcrFielding, SendsEveryPatternWithItsLinesAndClassesInOrder) {
  AdvancedFielding fielding;
  fielding.patterns["two lines"] = {{"AB", "0-9", "AB"}, {"x"}};
  fielding.patterns["no lines"] = {};
  fielding.patterns[OddBytes()] = {{}, {""}};
  Process(fielding);
  const Fielding seen = Seen();
  EXPECT_FALSE(seen.has_basic_fielding());
  const auto& patterns = seen.advanced_fielding().patterns();
  ASSERT_EQ(patterns.size(), fielding.patterns.size());
  for (const auto& [name, lines] : fielding.patterns) {
    std::vector<std::vector<std::string>> found;
    for (const auto& line : patterns.at(name).lines()) {
      found.emplace_back();
      for (const auto& c : line.character_classes()) found.back().push_back(c.allowed_characters());
    }
    EXPECT_EQ(found, lines) << name;
  }
}

TEST_F(OcrFielding, SendsAnEmptyAdvancedFieldingWithNothingSet) {
  Process(AdvancedFielding());
  EXPECT_EQ(engine::last("ocr.fielding").bytes, "");
}

TEST_F(OcrFielding, AppliesThePatternsToTheReadSample) {
  Process(BasicFielding("0", 1));
  EXPECT_EQ(engine::last("ocr.apply").bytes, sample_);
}

TYPED_TEST(EitherFielding, ReadsTheRegionAtTheSize) {
  const auto roi = std::make_shared<Types::ROI>(Types::ROI{3, 4, 0, 0, 5, 6});
  this->tool_.Process(HostImage(), roi, {10, 20}, TypeParam());
  const engine::Call call = engine::last("ocr.process");
  EXPECT_THAT(call.transform, testing::ElementsAre(1, 0, 3, 0, 1, 4));
  EXPECT_THAT(call.size, testing::ElementsAre(5, 6));
  telvar_msg::qv::ocr::RuntimeParameters parameters;
  ASSERT_TRUE(parameters.ParseFromString(engine::last("ocr.model").parameters));
  EXPECT_EQ(parameters.width(), 10.0f);
  EXPECT_EQ(parameters.height(), 20.0f);
}

TYPED_TEST(EitherFielding, ReturnsTheFieldedSampleBesideTheReadOne) {
  SampleResult fielded;
  fielded.set_first_value(0.5f);
  fielded.add_lines()->set_text("fielded");
  for (const std::string& name : {"name " + OddBytes(), std::string()}) {
    this->Answer(true, name, fielded);
    const ProcessResult result = this->Process(TypeParam());
    EXPECT_EQ(result.processingTime, 7);
    EXPECT_EQ(result.sample.lines->at(0).text, "read " + OddBytes());
    EXPECT_EQ(result.fieldingResult.patternName, name);
    EXPECT_EQ(result.fieldingResult.sample.firstValue, 0.5);
    ASSERT_NE(result.fieldingResult.sample.lines, nullptr);
    EXPECT_EQ(result.fieldingResult.sample.lines->at(0).text, "fielded");
    EXPECT_TRUE(result.fieldingResult.sample.characters->empty());
  }
}

TEST_F(OcrFielding, ReportsThatNothingMatched) {
  const std::string expected = An<InvalidArgumentException>(kNoMatch);
  Answer(false, "named all the same");
  EXPECT_EQ(ThrownBy([&] { Process(BasicFielding("0", 1)); }), expected);
  EXPECT_EQ(ThrownBy([&] { Process(AdvancedFielding()); }), expected);
  // A verdict that does not parse is no match.
  for (const char* verdict : {"", "\xff\xff"}) {
    engine::script().fielded.second = verdict;
    EXPECT_EQ(ThrownBy([&] { Process(BasicFielding("0", 1)); }), expected);
  }
}

TEST_F(OcrFielding, TakesAFieldedSampleThatDoesNotParseForAnEmptyOne) {
  engine::script().fielded.first = "\xff\xff";
  const ProcessResult result = Process(BasicFielding("0", 1));
  EXPECT_EQ(result.fieldingResult.patternName, "pattern");
  EXPECT_TRUE(result.fieldingResult.sample.lines->empty());
}

TEST_F(OcrFielding, GivesEveryOtherFailureOneText) {
  for (const char* call : {"ocr.fielding", "ocr.apply"}) {
    const std::vector<std::function<void()>> failures = {
        [&] { engine::fail(call, telvar::types::invalid_parameters("empty line")); },
        [&] { engine::fail(call, telvar::types::invalid_roi("of another kind")); },
        [&] { engine::fail(call, InvalidROIException("the library's own, but no argument")); },
        [&] { engine::fail(call, std::bad_alloc()); },
        [&] { engine::fail(call, 42); },
    };
    for (const auto& schedule : failures) {
      schedule();
      EXPECT_EQ(ThrownBy([&] { Process(AdvancedFielding()); }),
                An<InvalidArgumentException>(kInvalid));
    }
    engine::fail(call, InvalidArgumentException("kept"));
    EXPECT_EQ(ThrownBy([&] { Process(BasicFielding()); }), An<InvalidArgumentException>("kept"));
  }
}

TEST_F(OcrFielding, IsNotReachedWhenReadingFails) {
  engine::fail("ocr.process", telvar::types::invalid_image("no pixels"));
  EXPECT_EQ(ThrownBy([&] { Process(BasicFielding("0", 1)); }),
            An<InvalidImageException>("no pixels"));
  EXPECT_EQ(engine::count("ocr.fielding"), 0U);
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
