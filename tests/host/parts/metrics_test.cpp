// Differences between texts, overlaps and times.

#include <gmock/gmock.h>

#include <opencv2/core.hpp>

#include "metrics/overlap.h"
#include "metrics/text_metrics.h"
#include "metrics/timing.h"

namespace telvar_host {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(TextMetrics, EditDistance) {
  struct Case {
    const char *a, *b;
    std::size_t distance;
  };
  for (const auto& c : {Case{"", "", 0}, Case{"abc", "", 3}, Case{"kitten", "sitting", 3},
                        Case{"ÄÖ", "AÖ", 1}, Case{"a b c", "abc", 0}, Case{"flaw", "lawn", 2}}) {
    EXPECT_EQ(edit_distance(letters_of(c.a), letters_of(c.b)), c.distance) << c.a << " " << c.b;
    EXPECT_EQ(edit_distance(letters_of(c.b), letters_of(c.a)), c.distance);
    std::size_t steps = 0;
    for (const auto& [x, y] : edit_script(letters_of(c.a), letters_of(c.b)))
      steps += x != y ? 1 : 0;
    EXPECT_EQ(steps, c.distance);
  }
  EXPECT_THAT(edit_script(U"ab", U"b"), ElementsAre(Pair("a", ""), Pair("b", "b")));
}

TEST(TextMetrics, LinesAreAlignedInOrderAtLeastCost) {
  // A lost first line must not shift all others.
  const auto pairs = align_lines({"EINS", "ZWEI", "DREI"}, {"ZWEI", "DRE1", "x"});
  ASSERT_EQ(pairs.size(), 4U);
  EXPECT_EQ(pairs[0].truth, 0U);
  EXPECT_FALSE(pairs[0].read);
  EXPECT_EQ(pairs[1].cost, 0U);
  EXPECT_EQ(pairs[2].cost, 1U);
  EXPECT_FALSE(pairs[3].truth);
  std::size_t free = 0;
  for (const auto& pair : align_lines({"B"}, {"A", "B", "C"}, true))
    free += pair.truth ? pair.cost : 0;
  EXPECT_EQ(free, 0U);
}

TEST(Overlap, CountsFromTheThresholdUp) {
  const cv::Mat probability = (cv::Mat_<unsigned char>(1, 4) << 127, 128, 255, 0);
  const cv::Mat truth = (cv::Mat_<unsigned char>(1, 4) << 1, 9, 0, 0);
  Overlap overlap;
  overlap.add(probability, truth);
  EXPECT_DOUBLE_EQ(*overlap.iou(), 1.0 / 3);
  EXPECT_DOUBLE_EQ(*overlap.iou(127), 2.0 / 3);
  EXPECT_EQ(overlap.wrong_pixels(), 2U);
  EXPECT_FALSE(Overlap().iou());
}

TEST(Timing, QuantilesByNearestRank) {
  Timing timing;
  EXPECT_EQ(timing.quantile(0.5), 0);
  for (const double value : {40, 10, 30, 20}) timing.add(value);
  // The smallest value that at least this share does not exceed.
  for (const auto& [share, value] : {std::pair(0.25, 10), {0.26, 20}, {0.5, 20}, {0.95, 40}}) {
    EXPECT_EQ(timing.quantile(share), value) << share;
  }
  EXPECT_GE(Timing().measure([] { return 0; }), 0);
}

}  // namespace
}  // namespace telvar_host
