// The reader's steps before and after the network.

#include <gmock/gmock.h>

#include <cmath>

#include "core/cache_session.h"
#include "ocr/dataset.h"
#include "ocr/experts/calibration.h"
#include "ocr/experts/decoding.h"
#include "ocr/experts/exemplars.h"
#include "ocr/limits.h"
#include "ocr/network/loss.h"
#include "ocr/samples/contrast.h"
#include "pages.h"

namespace telvar::ocr {
namespace {

CellVote vote(float x, float y, float objectness, std::vector<float> scores) {
  return {x, y, objectness, std::move(scores)};
}

std::vector<PreparedLabel> labels_at(std::initializer_list<std::pair<int, float>> places) {
  std::vector<PreparedLabel> labels;
  for (const auto& [category, x] : places) labels.push_back({category, x * kPreparedCharacter, 0});
  return labels;
}

TEST(Decoding, AgreeingVotesMakeOneCharacterOfTheirWeightedMean) {
  const auto found = decode({vote(10, 20, 1, {1, 0}), vote(12, 20, 0.5f, {0.4f, 0.6f}),
                             vote(11, 20, 0.5f, {1, 0}), vote(100, 20, 0.2f, {1, 0})},
                            Spacing(2));
  ASSERT_EQ(found.size(), 1u) << "the lone weak vote is no character";
  EXPECT_FLOAT_EQ(found[0].x, 10.75f);
  EXPECT_FLOAT_EQ(found[0].scores[1], 0.15f);
  EXPECT_EQ(found[0].best(), 0);
  EXPECT_FLOAT_EQ(found[0].strength, 1);
}

TEST(Decoding, NeighboursStayAsCloseAsTheirCategoriesStoodInTraining) {
  Spacing spacing(2);
  spacing.learn(labels_at({{0, 0.0f}, {0, 1.0f}, {1, 1.45f}}));  // 1 is narrow
  const auto count = [&](int a, int b, float distance) {
    std::vector<CellVote> votes;
    for (const auto& [category, x] : {std::pair{a, 0.0f}, {b, distance * kReadingCharacter}}) {
      for (int i = 0; i < 3; ++i) {
        votes.push_back(vote(x, 0, 0.9f, {float(category == 0), float(category == 1)}));
      }
    }
    return decode(votes, spacing).size();
  };
  EXPECT_EQ(count(0, 1, 0.4f), 2u);
  EXPECT_EQ(count(0, 0, 0.25f), 1u);
  const Spacing turned = spacing.renumbered({1, 0}, 2);
  EXPECT_FLOAT_EQ(turned.limit(0, 1), spacing.limit(1, 0));
  EXPECT_FLOAT_EQ(turned.limit(1, 1), spacing.limit(0, 0));
}

TEST(Decoding, ReadsAWeakCharacterWhereALineHasAPlaceForIt) {
  const auto line_with = [](float x, float y, float objectness) {
    std::vector<CellVote> votes;
    for (int i = 0; i < 4; ++i) {
      for (int cell = 0; cell < 3; ++cell) votes.push_back(vote(24.0f * float(i), 0, 0.9f, {1}));
    }
    for (int cell = 0; cell < 5; ++cell) votes.push_back(vote(x, y, objectness, {1}));
    return decode(votes, Spacing(1)).size();
  };
  const struct {
    const char* where;
    float x, y, objectness;
    std::size_t read;
  } cases[] = {{"next in line", 96, 2, 0.4f, 5},
               {"before the first", -24, -2, 0.4f, 5},
               {"too weak", 96, 2, 0.25f, 4},
               {"off the course", 96, 14, 0.4f, 4},
               {"too far from the last", 115, 0, 0.4f, 4}};
  for (const auto& one : cases) {
    EXPECT_EQ(line_with(one.x, one.y, one.objectness), one.read) << one.where;
  }
  // The second needs the first, and neither needs more.
  std::vector<CellVote> votes;
  for (int i = 0; i < 5; ++i) {
    for (int cell = 0; cell < 5; ++cell) {
      votes.push_back(vote(24.0f * float(i), 0, i < 2 ? 0.9f : 0.4f, {1}));
    }
  }
  EXPECT_EQ(decode(votes, Spacing(1)).size(), 5u);
}

TEST(Calibration, FindsTheSharpnessThatScoresNeed) {
  // Scores of 0.6 that are right as often as a power of 4 makes of them: 0.835.
  std::vector<LabelledScores> judged;
  for (int i = 0; i < 1000; ++i) judged.push_back({{0.6f, 0.4f}, i % 1000 < 835 ? 0 : 1});
  EXPECT_NEAR(fit_sharpness(judged), 4, 0.5);
  // Few that are all right do not make scores certain.
  EXPECT_LT(fit_sharpness({{{0.6f, 0.4f}, 0}, {{0.7f, 0.3f}, 0}}), 3);
  std::vector<float> scores{0.5f, 0.3f, 0.1f};
  sharpen(scores, 3);
  EXPECT_NEAR(scores[0] + scores[1] + scores[2], 0.9f, 1e-6f);
  EXPECT_NEAR(scores[0] / scores[1], std::pow(5.0f / 3, 3.0f), 1e-4f);
}

TEST(Decoding, HoldsNothingBackOfManyCharacters) {
  std::vector<CellVote> votes;
  for (int i = 0; i < 20000; ++i) {
    votes.push_back(vote(24.0f * float(i % 200), 24.0f * float(i / 200), 1, {1}));
    votes.push_back(votes.back());
  }
  EXPECT_EQ(decode(votes, Spacing(1)).size(), 20000u);
}

Crop crop_with_a_label() {
  Crop crop;
  crop.pixels = core::Raster(kCropWidth, kCropHeight, 1);
  // Something stands on the right half of the crop, and nothing on the left.
  for (int y = 0; y < kCropHeight; ++y) {
    for (int x = kCropWidth / 2; x < kCropWidth; ++x) crop.pixels.at(0, y, x) = float((x / 3) % 2);
  }
  crop.labels = {{4, 73.5f, 25.5f}};
  return crop;
}

TEST(Targets, TeachBackgroundOnlyWhereItIsCertainInTheFirstStage) {
  Crop crop = crop_with_a_label();
  const auto at = [](int column, int row) { return std::size_t(row * kCellColumns + column); };
  const std::size_t centre = at(18, 6), near = at(20, 6), round = at(21, 6), busy = at(30, 6),
                    empty = at(3, 6);
  const Targets first = make_targets(crop, kUncertainWeight);
  EXPECT_EQ(first.objectness[centre], 1);
  EXPECT_EQ(first.category[centre], 4);
  EXPECT_FLOAT_EQ(first.offset_x[centre], 0);
  EXPECT_EQ(first.weight[near], 0) << "between character and surroundings";
  EXPECT_EQ(first.weight[round], 1) << "too near for a neighbour";
  EXPECT_EQ(first.weight[empty], 1);
  EXPECT_EQ(first.weight[busy], kUncertainWeight);
  EXPECT_EQ(make_targets(crop, 1).weight[busy], 1);
  crop.unlabelled = {{0, 121.5f, 25.5f}};
  EXPECT_EQ(make_targets(crop, 1).weight[busy], 0) << "an unlabelled character";
}

TEST(Contrast, IsTheSameInAnyLightAndWindow) {
  core::Random random({5});
  core::Raster dark(160, 120, 1), bright(160, 120, 1), part(96, 88, 1);
  for (int y = 0; y < 120; ++y) {
    for (int x = 0; x < 160; ++x) {
      dark.at(0, y, x) = 0.2f + 0.05f * random.uniform();
      bright.at(0, y, x) = 0.1f + 3 * dark.at(0, y, x);
      if (x >= 32 && x < 128 && y >= 16 && y < 104) part.at(0, y - 16, x - 32) = dark.at(0, y, x);
    }
  }
  for (core::Raster* raster : {&dark, &bright, &part}) normalise_contrast(*raster);
  EXPECT_NEAR(dark.at(0, 60, 80), bright.at(0, 60, 80), 0.15);
  EXPECT_FLOAT_EQ(dark.at(0, 60, 80), part.at(0, 44, 48));
  core::Raster flat(40, 40, 1);
  normalise_contrast(flat);
  EXPECT_EQ(flat.at(0, 20, 20), 0);
}

TEST(Exemplars, ShowEveryCategoryWithinTheLimit) {
  PreparedSample sample;
  sample.width = 20000;
  sample.height = 60;
  sample.pixels.resize(std::size_t(sample.width) * std::size_t(sample.height));
  for (int i = 0; i < 500; ++i)
    sample.labels.push_back({i % 50 == 0 ? 1 : 0, 40.0f * float(i), 30});
  core::Random random({1});
  const auto exemplars = choose_exemplars({&sample}, 2, random);
  EXPECT_EQ(exemplars.size(), std::size_t(kMaxExemplars));
  int rare = 0;
  for (const PreparedSample& exemplar : exemplars) {
    EXPECT_LE(exemplar.width, kExemplarWidth);
    for (const PreparedLabel& label : exemplar.labels) rare += label.category == 1;
  }
  EXPECT_GE(rare, 10) << "all of the rare category";
}

TEST(Exemplars, ShowLabelsOnTheEdgesOfTheRegionOnce) {
  test::Page page = test::draw_page(1);
  const auto right = float(page.image.layout[0]) - 0.5f, foot = float(page.image.layout[1]) - 0.5f;
  page.characters = {{"A", right, foot, 0}, {"A", -0.5f, -0.5f, 0}};
  test::PageSet set;
  set.add("page", page);
  const LabelledDataset dataset = parse_dataset(set.dataset());
  core::TrainCacheStore none(core::Tool::kOcr, 0);
  core::CacheSession session(none);
  PreparedSample sample =
      load_sample(dataset.samples[0], dataset.size, dataset.categories, set.loader(), session);
  const auto shown = [&] {
    core::Random random({1});
    std::size_t labels = 0;
    const auto exemplars = choose_exemplars({&sample}, 1, random);
    for (const PreparedSample& exemplar : exemplars) labels += exemplar.labels.size();
    return std::pair(exemplars.size(), labels);
  };
  EXPECT_EQ(shown(), std::pair(std::size_t{2}, std::size_t{2}));
  sample.labels[0].x = float(sample.width);
  EXPECT_EQ(shown().first, 2u) << "outside its own cut-out";
}

}  // namespace
}  // namespace telvar::ocr
