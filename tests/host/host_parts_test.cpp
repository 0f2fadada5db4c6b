// Parts of the program whose answers are known without any tool.

#include <gmock/gmock.h>

#include <cmath>
#include <opencv2/core.hpp>

#include <TelvarTypes/Exceptions.h>

#include "app/base64.h"
#include "app/errors.h"
#include "app/label.h"
#include "app/region.h"
#include "app/text.h"
#include "convert/annotations.h"
#include "convert/outlines.h"
#include "datasets/layout.h"
#include "datasets/ocr_labels.h"
#include "datasets/tables.h"
#include "files/output.h"
#include "files/platform.h"
#include "files/state_file.h"
#include "images/drawn_text.h"
#include "images/read_image.h"
#include "metrics/overlap.h"
#include "metrics/text_metrics.h"
#include "metrics/timing.h"
#include "predictions/predictor.h"

namespace telvar_host {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(Text, BytesThatAreNoUtf8StayDistinctAndComeBack) {
  for (const std::string text :
       {"A\xC3\x84\xE2\x82\xAC\xF0\x9F\x98\x80", "\xFF\xC3", "\xED\xB3\xBF", "\xC0\x80"}) {
    std::string back;
    for (const auto point : code_points(text)) back += utf8_of(point);
    EXPECT_EQ(back, text);
  }
  EXPECT_NE(code_points("\xFF"), code_points("\xED\xB3\xBF"));
}

TEST(Label, IsTheSameHoweverItWasTyped) {
  EXPECT_EQ(clean_label("  e\xCC\x81 b\xC2\xA0\t"), "\xC3\xA9 b");
  EXPECT_EQ(clean_label("\xFF x "), "\xFF x");
  EXPECT_EQ(clean_label(" \xE3\x80\x80"), "");
  EXPECT_EQ(normal_form(" e\xCC\x81"), " \xC3\xA9");
  EXPECT_EQ(look_of("Gut  GENUG"), look_of("gut genug"));
  EXPECT_EQ(look_of("\xD0\x90"), look_of("A"));      // Cyrillic
  EXPECT_EQ(look_of("\xEF\xBC\xA1"), look_of("A"));  // full width
  EXPECT_NE(look_of("a"), look_of("A"));
  EXPECT_NE(look_of("0"), look_of("O"));
  EXPECT_NE(look_of("\xFF\xFE"), look_of("\xFE\xFF"));
}

// In any script: other letters, other pixels. Without fonts or Pango all are question marks.
TEST(DrawnText, TellsWordsApart) {
  const auto drawn = [](const char* text) { return drawn_text(text); };
  EXPECT_GT(cv::countNonZero(drawn("Ag")), 20);
  EXPECT_GT(drawn("long word").cols, drawn("i").cols);
  EXPECT_FALSE(drawn("").empty());
  EXPECT_FALSE(drawn("a\xFF\n\x01").empty());
  EXPECT_LE(drawn(std::string(100000, 'w').c_str()).cols, 8192);
#ifdef TELVAR_PANGO
  const cv::Mat cyrillic = drawn("\xD0\x96"), greek = drawn("\xCE\xA9");
  EXPECT_TRUE(cyrillic.size() != greek.size() || cv::norm(cyrillic, greek) > 100);
#endif
}

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

// What concerns every image ends a run; what concerns one is said beside it.
TEST(Predictions, OneRuleForWhatConcernsEveryImage) {
  namespace Wrapper = Orbalt::TelvarWrapper;
  const auto check = [](bool every, const std::exception& error) {
    EXPECT_EQ(concerns_every_image(error), every) << error.what();
  };
  check(false, data_error("the file cannot be read"));
  check(true, failure("the disk is full"));
  check(true, usage_error("no size"));
  check(false, Wrapper::InvalidImageException("image"));
  check(false, Wrapper::InvalidImageSizeException("size"));
  check(false, Wrapper::InvalidROIException("region"));
  check(false, Wrapper::InvalidArgumentException("no pattern"));
  check(true, Wrapper::InvalidTrainingArtifactException("artifact"));
  check(true, Wrapper::UnsupportedTrainingArtifactVersionException("version"));
  check(true, Wrapper::InvalidOperationException("busy"));
  check(true, std::bad_alloc());
  check(true, std::runtime_error("unforeseen"));
}

class TwoRefused : public Predictor {
 public:
  Prediction predict(const cv::Mat& image) override {
    if (image.cols == 2) {
      throw Orbalt::TelvarWrapper::InvalidImageSizeException("image width 2 is below 3");
    }
    if (image.cols == 9) {
      throw Orbalt::TelvarWrapper::InvalidOperationException("busy");
    }
    Prediction prediction;
    prediction.scores.emplace_back("a", image.cols);
    return prediction;
  }
};

TEST(Predictions, ARefusedImageLeavesTheOthersOfItsGroup) {
  TwoRefused predictor;
  const auto image = [](int width) { return cv::Mat(1, width, CV_8U); };
  auto attempts = attempt(predictor, Images{{"a", image(3)}, {"b", image(2)}, {"c", image(4)}});
  EXPECT_EQ(attempts.at("a").prediction->scores.front().score, 3);
  EXPECT_EQ(attempts.at("b").error, "image width 2 is below 3");
  EXPECT_FALSE(attempts.at("b").prediction);
  EXPECT_EQ(attempts.at("c").prediction->scores.front().score, 4);
  EXPECT_THROW(attempt(predictor, Images{{"a", image(3)}, {"b", image(9)}}),
               Orbalt::TelvarWrapper::InvalidOperationException);
}

TEST(Outlines, FilledAgainAreTheMask) {
  // Parts that touch at a corner, a hole with an island, and what lies at the edges.
  const std::vector<std::string> rows = {"##......#", "##.####.#", "..######.", "..#....#.",
                                         "..#.##.##", "..#....##", "..######.", "#.......#"};
  cv::Mat mask(static_cast<int>(rows.size()), 9, CV_8U);
  for (int y = 0; y < mask.rows; ++y) {
    for (int x = 0; x < mask.cols; ++x) mask.at<unsigned char>(y, x) = rows[y][x] == '#' ? 255 : 0;
  }
  Shape shape;
  shape.polygons = outlines_of(mask, 0);
  cv::Mat filled = cv::Mat::zeros(mask.size(), CV_8U);
  for (const auto& polygon : shape.polygons) {
    Shape part;
    part.polygons = {polygon};
    fill_shape(filled, part, "mask");
  }
  EXPECT_EQ(cv::countNonZero(filled != mask), 0);
}

TEST(Region, PixelsComeBackThroughTheImage) {
  const auto region = parse_region("10.5,-3,30,-12,400,60");
  const auto [x, y] = region.to_image(17, 5);
  const auto [u, v] = region.to_region(x, y);
  EXPECT_NEAR(u, 17, 1e-9);
  EXPECT_NEAR(v, 5, 1e-9);
  // The second axis points at angle + skew + 90 degrees.
  const auto down = region.to_image(0, 1);
  EXPECT_NEAR(std::atan2(down.second + 3, down.first - 10.5),
              (30 - 12 + 90) * 3.14159265358979 / 180, 1e-9);
}

TEST(StateFileTest, EveryChangedByteIsNoticed) {
  StateFile state;
  state.tool = ToolKind::kOcr;
  state.size = {18.5f, 24};
  state.artifact = std::string("art\0fact", 8);
  state.train_cache = "cache";
  const auto bytes = serialised(state);
  const auto back = parse_state(bytes, "s");
  EXPECT_EQ(back.artifact, state.artifact);
  EXPECT_EQ(back.train_cache, state.train_cache);
  EXPECT_EQ(back.size.width, 18.5f);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (const char bit : {'\x01', '\x80'}) {
      auto damaged = bytes;
      damaged[i] = static_cast<char>(damaged[i] ^ bit);
      EXPECT_THROW(parse_state(damaged, "s"), HostError) << i;
    }
    EXPECT_THROW(parse_state(bytes.substr(0, i), "s"), HostError) << i;
  }
}

TEST(StateFileTest, WhatCannotBeWrittenIsKeptElsewhere) {
  StateFile state;
  state.artifact = "an artifact that took hours";
  try {
    write_state_or_keep("/nowhere/at/all/reader.telvar", state, false);
    FAIL();
  } catch (const HostError& error) {
    const std::string text = error.what();
    EXPECT_NE(text.find("/nowhere/at/all: no such folder"), std::string::npos) << text;
    const auto from = text.find("the state is in ") + 16;
    const auto kept = path_from_utf8(text.substr(from, text.rfind(" instead") - from));
    EXPECT_EQ(read_state(kept).artifact, state.artifact);
    std::filesystem::remove(kept);
  }
}

TEST(Labels, AreWrittenAsTheyAreRead) {
  const std::string text =
      R"({"size": [18, 24], "images": [{"file": "a b.png", "roi": [1, 2, 3, 4, 5, 6], "partial": true,
          "characters": [{"x": 1.5, "y": 2, "category": "Ä"}], "text": ["Ä"]}]})";
  const auto once = labels_json(parse_labels_json(text, "l", ""), "");
  EXPECT_EQ(labels_json(parse_labels_json(once, "l", ""), ""), once);
  EXPECT_THAT(once, ::testing::HasSubstr("\"a b.png\""));
}

TEST(Layout, IdentifiersAreRelativeHoweverThePathIsSpelt) {
  namespace fs = std::filesystem;
  const fs::path root = "bilder";
  for (const fs::path& path :
       {root / "a.png", fs::absolute(root / "a.png"), root / "." / "b" / ".." / "a.png"}) {
    EXPECT_EQ(identifier(path, root), "a.png") << path;
    EXPECT_EQ(identifier(path, fs::absolute(root) / ""), "a.png") << path;
  }
  EXPECT_EQ(identifier("b/a.png", ""), "b/a.png");
}

TEST(Labels, OfLabelmeWithoutAShapeTypeArePolygons) {
  for (const std::string type : {"", R"("shape_type": null,)"}) {
    const auto image = parse_labelme(R"({"imagePath": "..\\a.png", "shapes": [{"label": "x",)" +
                                         type + R"("points": [[1, 0], [4, 0], [4, 5]]}]})",
                                     "l", "b");
    EXPECT_EQ(image.file, "b/../a.png");
    ASSERT_EQ(image.shapes.size(), 1U);
    EXPECT_EQ(image.shapes[0].polygons.size(), 1U);
    EXPECT_EQ(image.shapes[0].box, cv::Rect2d(1, 0, 3, 5));
  }
}

TEST(Tables, CsvQuotes) {
  EXPECT_THAT(parse_csv("\xEF\xBB\xBF"
                        "a,\"b,\"\"c\"\"\n\"\r\n\r\nd,",
                        "t"),
              ElementsAre(ElementsAre("a", "b,\"c\"\n"), ElementsAre("d", "")));
  EXPECT_EQ(csv_field("a\"b"), "\"a\"\"b\"");
}

TEST(Html, Base64) {
  EXPECT_EQ(to_base64(""), "");
  EXPECT_EQ(to_base64("f"), "Zg==");
  EXPECT_EQ(to_base64("fo"), "Zm8=");
  EXPECT_EQ(to_base64("foo"), "Zm9v");
  for (const std::string bytes : {"", "f", "fo", "foo", "\xFF\x01"}) {
    EXPECT_EQ(from_base64(to_base64(bytes)), bytes);
  }
  EXPECT_EQ(from_base64("Zm 9v\n"), "foo");
  for (const char* wrong : {"Zm9", "Zm9-", "Z=9v", "===="})
    EXPECT_FALSE(from_base64(wrong)) << wrong;
}

}  // namespace
}  // namespace telvar_host
