// What fielding decides, character by character and pattern by pattern.
#include <gmock/gmock.h>

#include <cmath>
#include <ctime>
#include <functional>

#include "telvar/exceptions.h"
#include "text/utf8.h"
#include "text_samples.h"

namespace telvar::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string kDigits = "0123456789";
const std::string kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

struct Case {
  const char* name;
  std::string fielding;
  msg::SampleResult sample;
  std::string expected;  // "pattern:text/text", or "none"
};

std::string summary(const Answer& answer) {
  if (!answer.matched) return "none";
  std::string text = answer.pattern + ":";
  for (const std::string& line : answer.texts()) text += (text.back() == ':' ? "" : "/") + line;
  return text;
}

class Decisions : public ::testing::TestWithParam<Case> {};

TEST_P(Decisions, FollowThePattern) {
  EXPECT_EQ(summary(answer_of(GetParam().fielding, GetParam().sample)), GetParam().expected);
}

const Scores kLikelyO{{"O", 0.7f}, {"0", 0.25f}, {"Q", 0.05f}};
const Scores kOne{{"1", 1.0f}};

msg::SampleResult with_speck(float score, float strength) {
  msg::SampleResult sample = certain({"12"});
  add_character(sample, {{"X", score}}, strength);
  sample.clear_lines();
  add_line(sample, 0);
  return sample;
}

std::string digits(int positions) {
  return advanced({{"digits", {std::vector<std::string>(positions, kDigits)}}});
}

INSTANTIATE_TEST_SUITE_P(
    Advanced, Decisions,
    ::testing::Values(
        Case{"the_class_decides_0_or_O", digits(2), sample_of({{kLikelyO, kOne}}), "digits:01"},
        Case{"and_so_does_another", advanced({{"a", {{kLetters, kDigits}}}}),
             sample_of({{kLikelyO, kOne}}), "a:O1"},
        Case{"certainty_is_respected", digits(1), sample_of({{{{"A", 0.995f}, {"4", 0.005f}}}}),
             "none"},
        Case{"the_threshold_itself_is_plausible", digits(1),
             sample_of({{{{"A", 0.9f}, {"4", 0.01f}}}}), "digits:4"},
        Case{"a_spurious_character_is_left_out", digits(3), certain({"1#23"}), "digits:123"},
        Case{"the_least_likely_one_is_left_out", digits(2),
             sample_of({{{{"1", 0.9f}}, {{"7", 0.4f}}, {{"2", 0.8f}}}}), "digits:12"},
        Case{"the_last_of_equals_is_left_out", digits(2), certain({"123"}), "digits:12"},
        Case{"too_few_characters_do_not_match", digits(3), certain({"12"}), "none"},
        Case{"characters_of_two_lines_do_not_join", digits(3), certain({"12", "3"}), "none"},
        Case{"lines_that_do_not_fit_are_skipped",
             advanced({{"p", {{kDigits, kDigits}, {kLetters}}}}),
             certain({"HEAD", "12", "...", "A", "99"}), "p:12/A"},
        Case{"the_first_of_equal_lines_is_taken", digits(2), certain({"12", "34"}), "digits:12"},
        Case{"lines_keep_their_order", advanced({{"p", {{kDigits}, {kLetters}}}}),
             certain({"A", "1"}), "none"},
        Case{"reading_beats_leaving_out",
             advanced({{"long", {{kDigits, kDigits, kDigits}}}, {"short", {{kDigits, kDigits}}}}),
             sample_of({{kOne, kOne, {{"O", 0.98f}, {"0", 0.01f}}}}), "long:110"},
        Case{"two_poor_readings_cost_more_than_leaving_out",
             advanced({{"long", {{"1", "2", "3"}}}, {"short", {{"1", "X"}}}}),
             sample_of({{kOne, {{"X", 0.9f}, {"2", 0.05f}}, {{"Y", 0.9f}, {"3", 0.05f}}}}),
             "short:1X"},
        Case{"the_better_pattern_wins",
             advanced({{"a", {{"O", kDigits}}}, {"b", {{"0", kDigits}}}}),
             sample_of({{{{"0", 0.6f}, {"O", 0.4f}}, kOne}}), "b:01"},
        Case{"ties_go_by_the_bytes_of_the_name",
             advanced({{"b", {{"1"}}}, {"\xC3\xA4", {{"1"}}}, {"B", {{"1"}}}}), certain({"1"}),
             "B:1"},
        Case{"a_category_of_two_characters_fits_no_class", advanced({{"p", {{"AB"}}}}),
             sample_of({{{{"AB", 0.9f}, {"B", 0.05f}}}}), "p:B"},
        Case{"characters_beyond_ascii_fit", advanced({{"p", {{"x\xE2\x82\xAC", "\xC3\x84"}}}}),
             sample_of({{{{"\xE2\x82\xAC", 0.5f}}, {{"\xC3\x84", 0.5f}}}}),
             "p:\xE2\x82\xAC\xC3\x84"},
        Case{"a_byte_of_an_old_code_page_fits_itself", advanced({{"p", {{"\xC4"}}}}),
             sample_of({{{{"\xC3\x84", 0.9f}, {"\xC4", 0.1f}}}}), "p:\xC4"},
        Case{"not_a_number_is_no_score", digits(1),
             sample_of({{{{"1", NAN}, {"2", 0.1f}, {"3", -INFINITY}}}}), "digits:2"},
        Case{"nothing_read_is_no_match", digits(1), msg::SampleResult(), "none"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Basic, Decisions,
    ::testing::Values(
        Case{"every_character_is_decided", basic(kDigits, 0),
             sample_of({{kOne, kLikelyO}, {kLikelyO}}), ":10/0"},
        Case{"a_character_outside_the_class_refuses", basic(kDigits, 0), certain({"A12"}), "none"},
        Case{"the_count_is_of_the_sample", basic(kDigits, 3), certain({"12", "3"}), ":12/3"},
        Case{"too_many_refuse", basic(kDigits, 2), certain({"123"}), "none"},
        Case{"too_few_refuse", basic(kDigits, 4), certain({"123"}), "none"},
        Case{"a_doubtful_reading_is_left_out", basic(kDigits, 2), with_speck(0.3f, 0.9f), ":12"},
        Case{"a_doubtful_detection_is_left_out", basic(kDigits, 0), with_speck(0.9f, 0.3f), ":12"},
        Case{"no_strength_is_no_doubt", basic(kDigits, 0), with_speck(0.9f, 0), "none"},
        Case{"of_too_many_the_least_likely_doubtful_one_goes", basic(kDigits, 2),
             sample_of({{{{"1", 0.45f}}, {{"2", 0.3f}}, {{"3", 0.2f}, {"8", 0.4f}}}}), ":18"},
        Case{"nothing_read_refuses", basic(kDigits, 0), msg::SampleResult(), "none"}),
    [](const auto& tested) { return tested.param.name; });

TEST(FieldedSample, HoldsTheMatchedCharactersAlone) {
  msg::SampleResult sample = certain({"#"});
  add_character(sample, {{"O", 0.6f}, {"8", 0.1f}, {"0", 0.3f}}, 0.8f);
  add_character(sample, kOne);
  sample.clear_lines();
  for (const int index : {2, 0, 1}) {
    if (index == 2) sample.add_lines();
    sample.mutable_lines(0)->add_indexes(index);
  }
  const Answer answer = answer_of(digits(2), sample);
  EXPECT_THAT(answer.texts(), ElementsAre("10"));
  EXPECT_THAT(answer.sample.lines(0).indexes(), ElementsAre(1, 0));
  ASSERT_EQ(answer.sample.characters_size(), 2);
  const msg::CharacterResult& decided = answer.sample.characters(0);
  ASSERT_EQ(decided.category_scores_size(), 2);
  EXPECT_EQ(decided.category_scores(0).category_id(), "0");
  EXPECT_FLOAT_EQ(decided.category_scores(0).score(), 0.75f);
  EXPECT_EQ(decided.category_scores(1).category_id(), "8");
  EXPECT_FLOAT_EQ(decided.category_scores(1).score(), 0.25f);
  EXPECT_EQ(decided.first_value(), 10);
  EXPECT_EQ(decided.second_value(), 5);
  EXPECT_EQ(decided.third_value(), 0.8f);
  EXPECT_FLOAT_EQ(answer.sample.first_value(), 0.875f);
  EXPECT_FLOAT_EQ(answer.sample.second_value(), 0.75f);
}

TEST(FieldedSample, KeepsCharactersThatStandInNoLine) {
  msg::SampleResult sample = certain({"12"});
  add_character(sample, kLikelyO);
  const Answer answer = answer_of(basic(kDigits, 3), sample);
  EXPECT_EQ(answer.sample.characters_size(), 3);
  EXPECT_THAT(answer.texts(), ElementsAre("12"));
}

/// The type and text of what `run` throws.
std::string thrown(const std::function<void()>& run) {
  try {
    run();
  } catch (const types::invalid_parameters& e) {
    return std::string("parameters ") + e.what();
  } catch (const types::invalid_message& e) {
    return std::string("message ") + e.what();
  }
  return "nothing";
}

TEST(Fielding, RefusesWhatCannotBeMatched) {
  msg::Fielding both;
  both.ParseFromString(basic("1", 0) + digits(1));
  msg::Fielding empty;
  empty.mutable_advanced_fielding();
  const std::pair<std::string, const char*> cases[] = {
      {basic("", 0), "parameters fielding: the basic fielding allows no character"},
      {basic("1", -2), "parameters fielding: the count is -2"},
      {advanced({{"p", {}}}), "parameters fielding: pattern 'p' has no lines"},
      {advanced({{"p", {{"1"}, {}}}}), "parameters fielding: line 1 of pattern 'p' has no"},
      {advanced({{"p", {{"1", ""}}}}), "parameters fielding: position 1 of line 0 of pattern 'p'"},
      {empty.SerializeAsString(), "parameters fielding: the advanced fielding has no patterns"},
      {"", "parameters fielding: neither"},
      {both.SerializeAsString(), "parameters fielding: both"},
      {"\x0A\x7F", "message fielding: "}};
  for (const auto& [bytes, expected] : cases) {
    EXPECT_THAT(thrown([&] { qv::ocr::Fielding fielding(bytes); }), HasSubstr(expected));
  }
}

TEST(Fielding, RefusesSamplesThatContradictThemselves) {
  const auto refusal = [](const std::vector<int>& indexes) {
    msg::SampleResult sample = certain({"12"});
    for (const int index : indexes) sample.add_lines()->add_indexes(index);
    return thrown([&] { answer_of(digits(1), sample); });
  };
  EXPECT_THAT(refusal({2}), HasSubstr("message sample: line 1 names character 2, but there are 2"));
  EXPECT_THAT(refusal({-1}), HasSubstr("names character -1"));
  EXPECT_THAT(refusal({0}), HasSubstr("names character 0, which stands in a line already"));
  EXPECT_THAT(thrown([] { qv::ocr::Fielding(digits(1)).apply("\x0A\x7F"); }),
              HasSubstr("message sample: "));
}

TEST(Fielding, TakesTimeInProportionWhateverThePattern) {
  // Every position allows everything and every character may be anything: the worst there is.
  const auto seconds = [](int characters, int positions) {
    msg::SampleResult sample;
    for (int i = 0; i < characters; ++i) {
      add_character(sample, {{"A", 0.4f}, {"B", 0.3f}, {"1", 0.02f}});
    }
    add_line(sample, 0);
    const std::string fielding = advanced({{"p", {std::vector<std::string>(positions, kDigits)}}});
    const std::clock_t start = std::clock();
    EXPECT_TRUE(answer_of(fielding, sample).matched);
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  };
  EXPECT_LT(seconds(6000, 3000), 10);
}

TEST(Characters, AreCodePointsOrStrayBytes) {
  using text::characters_of;
  using text::kStrayByte;
  EXPECT_THAT(characters_of("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"),
              ElementsAre('a', 0xE4, 0x20AC, 0x1F600));
  // Overlong, a surrogate, beyond Unicode, cut short, a lone continuation.
  EXPECT_THAT(characters_of("\xC0\x80"), ElementsAre(kStrayByte + 0xC0, kStrayByte + 0x80));
  EXPECT_THAT(characters_of("\xED\xA0\x80"),
              ElementsAre(kStrayByte + 0xED, kStrayByte + 0xA0, kStrayByte + 0x80));
  EXPECT_EQ(characters_of("\xF4\x90\x80\x80").size(), 4u);
  EXPECT_THAT(characters_of("\xE2\x82z"), ElementsAre(kStrayByte + 0xE2, kStrayByte + 0x82, 'z'));
  EXPECT_EQ(text::single_character(""), std::nullopt);
  EXPECT_EQ(text::single_character("ab"), std::nullopt);
  EXPECT_EQ(text::single_character("\xC3\xA4"), 0xE4u);
}

}  // namespace
}  // namespace telvar::test
