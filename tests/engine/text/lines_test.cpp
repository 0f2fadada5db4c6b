// Grouping of character centres into lines, through sort_characters.
#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <random>

#include "telvar/exceptions.h"
#include "telvar/ocr.h"

namespace {

using telvar::qv::ocr::sort_characters;
using Points = std::vector<std::pair<float, float>>;
using Lines = std::vector<std::vector<std::size_t>>;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr float kHeight = 30;

// A page in character heights. Marks: every third character is a full stop, an apostrophe or a
// comma, off the middle by up to 0.46 of a character.
struct Page {
  const char* name;
  std::vector<int> lengths;  // of the lines
  double slant = 0;          // degrees
  double spacing = 1.4;
  double size = 1;  // of the characters, against nominal
  double bow = 0;   // how far the ends lie below the middle
  double jitter = 0.04;
  bool marks = false;
};

// The points in a shuffled order, and the lines expected of them.
struct Drawn {
  Points points;
  Lines lines;
};

Drawn draw(const Page& page) {
  std::mt19937 random(7);
  const auto uniform = [&] { return random() / 2147483648.0 - 1; };
  const double angle = page.slant * std::acos(-1.0) / 180;
  const double reach = 0.4 * page.size * page.lengths[0];
  const double offsets[] = {0, 0.1, 0, 0.42, 0, 0, -0.4, 0.1, 0, 0.46, 0, 0};
  Drawn drawn;
  Points in_order;
  for (std::size_t line = 0; line < page.lengths.size(); ++line) {
    drawn.lines.emplace_back();
    double x = line % 2 * 0.9;
    for (int i = 0; i < page.lengths[line]; ++i) {
      const double mark = page.marks ? offsets[(i + line) % 12] : 0;
      const double advance = page.size * (std::fabs(mark) > 0.2 ? 0.4 : 0.8);
      const double along = x + advance / 2;
      const double across = page.size * (line * page.spacing + mark + page.jitter * uniform()) +
                            page.bow * std::pow(along / reach - 1, 2);
      x += advance + (i % 5 == 4 ? 0.8 : 0);
      drawn.lines.back().push_back(in_order.size());
      in_order.emplace_back(200 + kHeight * (along * std::cos(angle) - across * std::sin(angle)),
                            200 + kHeight * (along * std::sin(angle) + across * std::cos(angle)));
    }
  }
  std::vector<std::size_t> order(in_order.size());
  std::iota(order.begin(), order.end(), 0);
  for (std::size_t i = order.size(); i > 1; --i) std::swap(order[i - 1], order[random() % i]);
  for (auto& line : drawn.lines) {
    for (auto& index : line) {
      index = std::find(order.begin(), order.end(), index) - order.begin();
    }
  }
  for (const std::size_t i : order) drawn.points.push_back(in_order[i]);
  return drawn;
}

class PagesOfText : public ::testing::TestWithParam<Page> {};

TEST_P(PagesOfText, AreReadLineByLine) {
  const Drawn drawn = draw(GetParam());
  EXPECT_EQ(sort_characters(drawn.points, kHeight), drawn.lines);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, PagesOfText,
    ::testing::Values(
        Page{"straight", {12, 3, 20, 1, 8}, 0, 1.4, 1, 0, 0.04, true},
        Page{"slanted_down", {20, 12, 5, 18}, 15, 1.4, 1, 0, 0.04, true},
        Page{"slanted_up", {20, 12, 5, 18}, -15, 1.4, 1, 0, 0.04, true},
        Page{"one_slanted_line", {14}, 15, 1.4, 1, 0, 0.04, true},
        Page{"small_and_tight", {15, 9, 20}, 3, 1.25, 0.7}, Page{"large", {15, 9, 20}, 3, 1.3, 1.3},
        Page{"large_with_marks", {24, 18, 20}, 0, 1.3, 1.4, 0, 0.04, true},
        Page{"small_and_tight_with_marks", {15, 22, 20, 24}, 0, 1.2, 0.7, 0, 0.04, true},
        Page{"uneven", {20, 20, 20}, 0, 1.4, 1, 0, 0.2},
        Page{"bowed", {24, 24, 24}, 0, 1.4, 1, 0.8, 0.04, true},
        Page{"bowed_and_slanted", {24, 24, 24}, -8, 1.4, 1, 0.8, 0.04, true},
        Page{"a_whole_page", std::vector<int>(40, 60), 4, 1.5, 1, 0, 0.04, true}),
    [](const auto& tested) { return tested.param.name; });

TEST(SortCharacters, AnswersSmallInputs) {
  EXPECT_THAT(sort_characters({}, 10), ElementsAre());
  EXPECT_THAT(sort_characters({{3, 4}}, 10), ElementsAre(ElementsAre(0)));
  EXPECT_THAT(sort_characters({{3, 4}, {3, 4}, {-9, 4}}, 10), ElementsAre(ElementsAre(2, 0, 1)));
  EXPECT_THAT(sort_characters({{0, 40}, {0, 0}, {0, 20}}, 10),
              ElementsAre(ElementsAre(1), ElementsAre(2), ElementsAre(0)));
}

TEST(SortCharacters, PutsMarksIntoTheLineTheyStandIn) {
  // "A.'B" over "-C", the first mark outside the reach of a line by itself.
  const Points points{{0, 0}, {10, 7}, {16, -4}, {24, 0}, {33, 0}, {0, 16}, {10, 16}, {20, 16}};
  EXPECT_THAT(sort_characters(points, 10),
              ElementsAre(ElementsAre(0, 1, 2, 3, 4), ElementsAre(5, 6, 7)));
}

TEST(SortCharacters, MovesAMarkToTheLineThatTurnsOutNearer) {
  // Index 0 opens the lower of two tight lines, within reach of the upper one, which began before.
  Points points{{3, 5.5}};
  for (int i = 0; i < 8; ++i) points.emplace_back(6.0f * i, 0.0f);
  for (int i = 0; i < 8; ++i) points.emplace_back(8 + 6.0f * i, 8.4f);
  EXPECT_THAT(sort_characters(points, 10),
              ElementsAre(ElementsAre(1, 2, 3, 4, 5, 6, 7, 8),
                          ElementsAre(0, 9, 10, 11, 12, 13, 14, 15, 16)));
}

TEST(SortCharacters, RefusesWhatIsNoPointOrHeight) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const auto message = [](const Points& points, float height) -> std::string {
    try {
      sort_characters(points, height);
    } catch (const telvar::types::invalid_parameters& e) {
      return e.what();
    }
    return "no exception";
  };
  EXPECT_THAT(message({{0, 0}, {0, nan}}, 10), HasSubstr("point 1 "));
  EXPECT_THAT(message({{-infinity, 0}}, 10), HasSubstr("point 0 "));
  for (const float height : {0.0f, -1.0f, nan, infinity}) {
    EXPECT_THAT(message({}, height), HasSubstr("height"));
  }
}

// Inputs that no reader makes must still come back whole, repeatably and in time.
struct Heap {
  const char* name;
  std::function<std::pair<double, double>(int, std::mt19937&)> point;
};

class HeapsOfPoints : public ::testing::TestWithParam<Heap> {};

TEST_P(HeapsOfPoints, ComeBackOnceEachAndInTime) {
  constexpr int kMany = 100000;
  std::mt19937 random(11);
  Points points;
  for (int i = 0; i < kMany; ++i) points.push_back(GetParam().point(i, random));
  const std::clock_t start = std::clock();
  const Lines lines = sort_characters(points, 1);
  // A quadratic step would take minutes.
  EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 20);
  std::vector<int> seen(kMany);
  for (const auto& line : lines) {
    EXPECT_FALSE(line.empty());
    for (const std::size_t index : line) ++seen.at(index);
  }
  EXPECT_THAT(seen, ::testing::Each(1));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, HeapsOfPoints,
    ::testing::Values(
        Heap{"all_equal", [](int, auto&) { return std::pair(5.0, 5.0); }},
        Heap{"a_column", [](int i, auto&) { return std::pair(5.0, 0.3 * i); }},
        Heap{"a_staircase", [](int i, auto&) { return std::pair(0.5 * i, 0.4 * i); }},
        Heap{"huge",
             [](int, auto& r) { return std::pair(1.3e29 * r() - 2.8e38, 1.3e29 * r() - 2.8e38); }},
        Heap{"dense", [](int, auto& r) { return std::pair(r() % 300 * 0.9, r() % 300 * 1.1); }},
        Heap{"a_fan",
             [](int i, auto&) { return std::pair(1.0 * i, i % 300 * 1.2 * (1 - i * 1e-5)); }}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace
