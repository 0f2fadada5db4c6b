// What the segmenter knows of a whole region beside its view of a piece, and how sure it is.

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "nn/inference.h"
#include "scene.h"
#include "segmenter/calibration.h"
#include "segmenter/context_choice.h"
#include "segmenter/context_training.h"
#include "segmenter/network/context.h"
#include "segmenter/network/network.h"
#include "segmenter/state.h"
#include "telvar/exceptions.h"

namespace telvar::segmenter {
namespace {

using ::testing::Each;
using ::testing::FloatNear;
using ::testing::Pointwise;

TEST(Context, MapsAreInterpolatedWhereAPieceLies) {
  // Two by two cells over a region of 8 x 8: the left half says no, the right half yes.
  const ContextMap map(2, 2, {0, 1, 0, 1});
  std::vector<float> row(8);
  fill_context_planes(map, {0, 3, 8, 8}, 1, 8, 1, row.data());
  EXPECT_THAT(
      row, Pointwise(FloatNear(1e-5f), std::vector<float>{-1, -1, -0.75, -0.25, 0.25, 0.75, 1, 1}));
  // A piece that begins elsewhere sees the same places alike; beyond the region, its edge repeats.
  std::vector<float> part(6);
  fill_context_planes(map, {4, 0, 8, 8}, 1, 6, 1, part.data());
  EXPECT_THAT(part, Pointwise(FloatNear(1e-5f), std::vector<float>{0.25, 0.75, 1, 1, 1, 1}));
  fill_context_planes({}, {4, 0, 8, 8}, 1, 6, 1, part.data());
  EXPECT_THAT(part, Each(0.0f));
}

TEST(Context, OverviewsKeepTheAspectAndAreNeverEnlarged) {
  const struct {
    int width, height, overview_width, overview_height;
  } cases[] = {{960, 480, 96, 48}, {96, 96, 96, 96}, {40, 30, 40, 30}, {8, 32768, 1, 96}};
  for (const auto& [width, height, overview_width, overview_height] : cases) {
    const OverviewSize size = overview_size(width, height, 96);
    EXPECT_EQ(size.width, overview_width) << width;
    EXPECT_EQ(size.height, overview_height) << width;
  }
}

TEST(Context, ThinMarksAreLostInAnOverview) {
  // A square and a line of two pixels' width that runs aslant, in a region of 384 x 288.
  const auto shown = [](const std::function<bool(int, int)>& belongs) {
    const auto tile_of = [&](int width, int height, int step) {
      core::Mask mask(width, height);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          mask.at(y, x) = belongs(x * step + step / 2, y * step + step / 2);
        }
      }
      return make_tile(core::Raster(width, height, 1), 1, {mask}, 1);
    };
    TrainingTile tile = tile_of(384, 288, 1);
    tile.origin = {0, {0, 0, 384, 288}};
    ContextData data;
    data.overviews = {{tile_of(96, 72, 4), 0}};
    data.categories = 1;
    return measure_overviews(data, {&tile});
  };
  EXPECT_GT(shown([](int x, int y) { return std::max(abs(x - 190), abs(y - 140)) < 60; }), 0.9);
  EXPECT_LT(shown([](int x, int y) { return abs(x - y - 30) < 2; }), 0.5);
}

TEST(Context, AGrownNetworkAnswersAsBeforeWherePlanesComeBetween) {
  const nn::Network old = make_initial_net(3, 2, 1);
  // Old planes 0, 1, 2 are now 0, 3, 4; old categories 0, 1 are now 2, 0.
  const nn::Network grown = grow_net(old, {6, {0, 3, 4}}, {3, {2, 0}}, 2);
  std::vector<float> few, many;
  core::Random random({7});
  for (int i = 0; i < 16 * 16; ++i) {
    const float a = random.normal(), b = random.normal(), c = random.normal();
    few.insert(few.end(), {a, b, c});
    many.insert(many.end(), {a, random.normal(), random.normal(), b, c, random.normal()});
  }
  const auto before = nn::Inference(old, nn::Number::kFloat)(few.data(), {1, 16, 16});
  const auto after = nn::Inference(grown, nn::Number::kFloat)(many.data(), {1, 16, 16});
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 16; ++x) {
      EXPECT_NEAR(after.at(0, y, x)[2], before.at(0, y, x)[0], 1e-4);
      EXPECT_NEAR(after.at(0, y, x)[0], before.at(0, y, x)[1], 1e-4);
    }
  }
}

TEST(Context, NetworksEndWithWhatTheyWereKeptFrom) {
  const auto weights = [](const nn::Network& net) {
    return net.parameter("stem.convolution.weight").values;
  };
  ContextData data;
  data.overviews = {{make_tile(core::Raster(32, 32, 1), 1, {core::Mask(32, 32)}, 1), 0}};
  data.fresh = data.categories = 1;
  ContextModel model;
  model.nets = {make_initial_net(data.spec.planes() + kPositionPlanes, 1, 1)};
  const auto initial = weights(model.nets[0]);
  core::TrainingPool pool(1);
  train_context(data, {2, 1e-2}, 1, 0, model, pool);
  EXPECT_EQ(weights(model.nets[0]), initial);
  data.overviews[0].fold = Overview::kUnseen;
  continue_context(data, {2, 1e-2}, 1, WhichOverviews::kOfFolds, model, pool);
  EXPECT_EQ(weights(model.nets[0]), initial);
  continue_context(data, {2, 1e-2}, 1, WhichOverviews::kAll, model, pool);
  EXPECT_NE(weights(model.nets[0]), initial);
}

/// The figures of slices and tiles are of trainings: with the context, slices reached 0.91 in place
/// of 0.89, tiles no more than without.
TEST(Context, IsPromisingWhereItKnowsACategoryBetter) {
  const auto overlaps = [](const std::vector<int>& ious) {
    std::vector<Overlap> overlaps;
    for (const int iou : ious)
      overlaps.push_back({iou < 0 ? 0U : 1000U, unsigned(std::max(0, iou)), 1000});
    return overlaps;
  };
  const struct {
    const char* what;
    std::vector<int> fine, context;  // thousandths; below 0: no pixel shows the category
    int nets;
    bool promises;
  } cases[] = {
      {"slices, one network", {942, 643, 759}, {918, 612, 651}, 1, true},
      {"slices, one network's gain is too little for two",
       {942, 643, 759},
       {918, 612, 651},
       2,
       false},
      {"slices, two networks", {942, 643, 759}, {931, 711, 698}, 2, true},
      {"tiles, two networks", {896, 977, 940}, {897, 935, 908}, 2, false},
      {"textures", {900, 870, 890}, {500, 480, 520}, 1, false},
      {"neither knows anything", {10, 20, 15}, {250, 250, 250}, 1, false},
      {"better only where nothing is labelled", {950, -1}, {900, 990}, 2, false},
  };
  for (const auto& [what, fine, context, nets, promises] : cases) {
    EXPECT_EQ(is_promising(overlaps(context), nets, overlaps(fine)), promises) << what;
  }
}

TrainingTile blank_tile(int width, int height) {
  return make_tile(core::Raster(width, height, 1), 1, {}, 0b11);
}

/// A model that has never been trained, with one exemplar of a region of 400 x 300.
SegmenterState make_model() {
  SegmenterState model;
  model.categories = {"a", "b"};
  model.net = make_initial_net(model.input.planes() + 2, 2, 1);
  for (int i = 0; i < 2; ++i) {
    model.context.nets.push_back(
        make_initial_net(model.input.planes() + kPositionPlanes, 2, 2 + i));
  }
  model.context.positions = true;
  model.input.mirrored = true;
  model.context.side = 80;
  model.overviews = {{blank_tile(80, 60), 1}, {blank_tile(40, 30), Overview::kUnseen}};
  model.exemplars = {blank_tile(100, 80), blank_tile(50, 50)};
  model.exemplars[0].origin = {1, {300, 220, 400, 300}};
  return model;
}

TEST(Context, SurvivesTheArtifact) {
  const std::string bytes = write_state(make_model());
  const SegmenterState back = read_state(bytes);
  EXPECT_EQ(back.context.nets.size(), 2U);
  EXPECT_TRUE(back.context.positions);
  EXPECT_EQ(back.context.side, 80);
  EXPECT_TRUE(back.input.mirrored);
  EXPECT_EQ(back.overviews[0].fold, 1);
  EXPECT_EQ(back.exemplars[0].origin.overview, 1);
  EXPECT_EQ(back.exemplars[0].origin.place.y, 220);
  EXPECT_EQ(back.exemplars[1].origin.overview, -1);
  EXPECT_EQ(write_state(back), bytes);
}

TEST(Context, ArtifactsThatContradictThemselvesAreRefused) {
  const std::pair<const char*, void (*)(SegmenterState&)> changes[] = {
      {"a fold without a network", [](SegmenterState& m) { m.overviews[0].fold = 2; }},
      {"an overview that is not there",
       [](SegmenterState& m) { m.exemplars[0].origin.overview = 2; }},
      {"a place beyond the region", [](SegmenterState& m) { m.exemplars[0].origin.place.x = 301; }},
      {"more networks than there may be",
       [](SegmenterState& m) { m.context.nets.resize(5, m.context.nets[0]); }},
      {"overviews too small to show anything", [](SegmenterState& m) { m.context.side = 8; }},
      {"an overview beyond its size", [](SegmenterState& m) { m.context.side = 79; }},
      {"a network without its planes",
       [](SegmenterState& m) { m.net = make_initial_net(m.input.planes(), 2, 1); }},
  };
  for (const auto& [name, change] : changes) {
    SegmenterState model = make_model();
    change(model);
    EXPECT_THROW(read_state(write_state(model)), types::invalid_training_artifact) << name;
  }
}

/// Counts of pixels whose true logit is scale x logit + offset.
LogitCounts counts_of(double scale, double offset = 0) {
  LogitCounts counts;
  for (int i = 0; i < LogitCounts::kBins; ++i) {
    const double p = 1 / (1 + std::exp(-scale * LogitCounts::logit(i) - offset));
    counts.belonging[i] = static_cast<std::uint64_t>(10000 * p);
    counts.others[i] = 10000 - counts.belonging[i];
  }
  return counts;
}

TEST(Calibration, FindsTheScaleWithinItsLimits) {
  for (const double scale : {0.6, 1.0, 1.5}) {
    EXPECT_NEAR(fit_logits(counts_of(scale), 3).scale, scale, 0.02);
    EXPECT_NEAR(fit_logits(counts_of(scale), 3).offset, 0, 0.02);
  }
  EXPECT_EQ(fit_logits(counts_of(0.1), 3).scale, 0.4);
  EXPECT_EQ(fit_logits({}, 3).scale, 1);
}

TEST(Calibration, TrustsAnOffsetTheMoreTheMoreImagesTellIt) {
  for (const double offset : {-0.6, 0.6}) {
    EXPECT_NEAR(fit_logits(counts_of(1, offset), 1).offset, offset / 2, 0.03);
    EXPECT_NEAR(fit_logits(counts_of(1, offset), 9).offset, offset * 0.9, 0.05);
  }
  EXPECT_EQ(fit_logits(counts_of(1, 3), 1).offset, 0.5);
}

TEST(Calibration, IsBuiltIntoTheHead) {
  nn::Network net = make_initial_net(4, 2, 1);
  const std::vector<float> input(16 * 16 * 4, 0.5f);
  const auto before = nn::Inference(net, nn::Number::kFloat)(input.data(), {1, 16, 16});
  adjust_logits({{2.0, 0.0}, {1.0, 0.25}}, net);
  const auto after = nn::Inference(net, nn::Number::kFloat)(input.data(), {1, 16, 16});
  EXPECT_NEAR(after.at(0, 5, 5)[0], 2 * before.at(0, 5, 5)[0], 1e-4);
  EXPECT_NEAR(after.at(0, 5, 5)[1], before.at(0, 5, 5)[1] + 0.25, 1e-5);
}

}  // namespace
}  // namespace telvar::segmenter

namespace telvar::segmenter_test {
namespace {

constexpr int kPlateWidth = 240, kPlateHeight = 200;

/// Plates as gray as what they lie on: a closed thin outline, too far from the middle to be seen
/// from there. A bar that encloses nothing lies beside it.
Scenes make_plates(int count, std::uint64_t seed) {
  Scenes scenes;
  (*scenes.dataset.mutable_categories())["plate"];
  core::Random random({seed});
  for (int i = 0; i < count; ++i) {
    const std::string id = "plate-" + std::to_string(seed) + "-" + std::to_string(i);
    const int width = 140 + random.below(40), height = 130 + random.below(40);
    const int left = 8 + random.below(kPlateWidth - width - 16);
    const int top = 8 + random.below(kPlateHeight - height - 16);
    const int bar = left > kPlateWidth - left - width ? left / 2 : (left + width + kPlateWidth) / 2;
    std::vector<unsigned char> pixels, mask;
    for (int y = 0; y < kPlateHeight; ++y) {
      for (int x = 0; x < kPlateWidth; ++x) {
        const int inset = std::min({x - left, left + width - 1 - x, y - top, top + height - 1 - y});
        const bool dark = (inset >= 0 && inset < 3) || std::abs(x - bar) < 2;
        pixels.push_back(static_cast<unsigned char>((dark ? 70 : 120) + 5 * random.normal()));
        mask.push_back(inset >= 0 ? 255 : 0);
      }
    }
    scenes.images[id] = gray_image(kPlateWidth, kPlateHeight, pixels);
    scenes.masks[id + "/plate"] = gray_image(kPlateWidth, kPlateHeight, mask);
    auto& sample = (*scenes.dataset.mutable_samples())[id];
    sample.set_image_id(id);
    (*sample.mutable_category_masks())["plate"] = id + "/plate";
  }
  return scenes;
}

TEST(Segmenter, KnowsWhatOnlyTheWholeRegionTells) {
  const auto [score, artifact] = train(make_plates(7, 1));
  const Scenes unseen = make_plates(6, 2);
  const double iou = measure(artifact, unseen).at("plate");
  EXPECT_GT(iou, 0.85);
  EXPECT_NEAR(score, iou, 0.15);
  // What it remembers of whole regions serves when it goes on.
  const auto [later_score, later] = train(make_plates(3, 3), artifact);
  EXPECT_GT(measure(later, unseen).at("plate"), iou - 0.05);
}

}  // namespace
}  // namespace telvar::segmenter_test
