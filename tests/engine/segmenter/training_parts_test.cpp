// How crops differ from what they were cut from, and how long a training takes.

#include <gmock/gmock.h>

#include <cmath>
#include <functional>

#include "segmenter/effort.h"
#include "segmenter/samples/augmentation.h"
#include "segmenter/samples/colours.h"
#include "segmenter/samples/fading.h"
#include "segmenter/samples/mixing.h"

namespace telvar::segmenter {
namespace {

constexpr int kSide = 64;

/// A gray tile whose one category is darker where `belongs` says so.
TrainingTile tile_of(const std::function<bool(int, int)>& belongs) {
  core::Raster raster(kSide, kSide, 1);
  core::Mask mask(kSide, kSide);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      mask.at(y, x) = belongs(x, y);
      raster.values[y * kSide + x] = belongs(x, y) ? 0.2f : 0.6f;
    }
  }
  return make_tile(raster, 1, {mask}, 1);
}

bool is_thin_tile(const TrainingTile& tile) {
  std::vector<std::uint32_t> pixels;
  for (std::uint32_t i = 0; i < kSide * kSide; ++i) {
    if (bit_at(tile.labels[0].bits, i)) pixels.push_back(i);
  }
  return is_thin(tile, tile.labels[0], pixels);
}

TEST(Fading, IsForWhatIsThinInEveryPlace) {
  EXPECT_TRUE(is_thin_tile(tile_of([](int x, int y) { return std::abs(x - y) < 2; })));
  EXPECT_TRUE(is_thin_tile(tile_of([](int x, int y) { return x % 32 < 4 && y % 32 < 4; })));
  EXPECT_FALSE(is_thin_tile(tile_of([](int x, int y) { return std::hypot(x - 32, y - 32) < 20; })));
  EXPECT_FALSE(is_thin_tile(tile_of([](int x, int) { return x < 32; })));
}

TEST(Fading, TakesContrastFromThinThingsAndLeavesTheRest) {
  const auto belongs = [](int x, int) { return x >= 30 && x < 33; };
  std::vector<std::uint8_t> flags;
  std::vector<float> pixels;
  for (int i = 0; i < kSide * kSide; ++i) {
    flags.push_back(belongs(i % kSide, 0) ? 1 : 0);
    pixels.push_back(flags.back() != 0 ? 0.2f : 0.6f);
  }
  double faintest = 0;
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    std::vector<float> faded = pixels;
    core::Random random({seed});
    fade({flags.data(), 1, kSide}, random, faded);
    for (int i = 0; i < kSide * kSide; ++i) {
      ASSERT_GE(faded[i], flags[i] != 0 ? 0.2f - 1e-6f : 0.6f - 1e-6f);
      ASSERT_LE(faded[i], 0.6f + 1e-6f);
      if (flags[i] != 0) faintest = std::max<double>(faintest, faded[i]);
    }
  }
  EXPECT_GT(faintest, 0.4);
  EXPECT_LT(faintest, 0.5);  // something is always left to see
}

TEST(Augmentation, PlacesStayInTheTileAndAreBentOnlyOfFewImages) {
  const TrainingTile tile = tile_of([](int x, int) { return x < 32; });
  for (const Strength strength : {Strength::kNormal, Strength::kOfFewImages}) {
    double bent = 0;
    for (std::uint64_t seed = 0; seed < 10; ++seed) {
      core::Random random({seed});
      const auto places = place_crop(tile, {32, 32}, 32, strength, random);
      ASSERT_EQ(places.size(), 32U * 32U);
      for (const Position& at : places) {
        ASSERT_TRUE(at.x >= 0 && at.y >= 0 && at.x <= kSide - 1 && at.y <= kSide - 1);
      }
      // Straight lines stay straight unless they are bent.
      const Position &a = places[16 * 32 + 12], &b = places[16 * 32 + 16],
                     &c = places[16 * 32 + 20];
      bent = std::max<double>(bent, std::hypot(a.x + c.x - 2 * b.x, a.y + c.y - 2 * b.y));
    }
    EXPECT_EQ(bent > 0.01, strength == Strength::kOfFewImages) << bent;
  }
}

/// A crop of one category and three planes: `level` everywhere, labelled where `belongs` says so.
Crop crop_of(float level, const std::function<bool(int)>& belongs) {
  Crop crop;
  crop.pixels.assign(3 * kSide, level);
  crop.known = {1};
  for (int i = 0; i < kSide; ++i) crop.targets.push_back(belongs(i) ? 1 : 0);
  return crop;
}

TEST(Mixing, LaysWhatIsLabelledOverAnotherCrop) {
  const Crop upper = crop_of(0.9f, [](int i) { return i < 10; });
  const Crop lower = crop_of(0.1f, [](int i) { return i >= 5 && i < 20; });
  Crop mixed = lower;
  lay_over(upper, mixed);
  for (int i = 0; i < kSide; ++i) {
    EXPECT_EQ(mixed.targets[i], i < 20) << i;
    for (int plane = 0; plane < 3; ++plane) {
      EXPECT_EQ(mixed.pixels[plane * kSide + i], i < 10 ? 0.9f : 0.1f) << i;
    }
  }
  Crop unknown = lower;
  unknown.known = {0};
  lay_over(upper, unknown);
  EXPECT_EQ(unknown.pixels, lower.pixels);
}

TEST(Colours, AreTurnedAroundGrayAndFadeInSomeCropsAlone) {
  const std::vector<float> before{0.7f, 0.5f, 0.3f};
  const auto apart = [](const std::vector<float>& p) {
    const float gray = (p[0] + p[1] + p[2]) / 3;
    return std::hypot(p[0] - gray, p[1] - gray, p[2] - gray);
  };
  int same = 0, turned = 0, paler = 0;
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    std::vector<float> after = before;
    core::Random random({seed});
    vary_colours(after, 1, random);
    ASSERT_NEAR(after[0] + after[1] + after[2], 1.5f, 1e-5);
    ASSERT_LE(apart(after), apart(before) + 1e-5);
    if (after == before) {
      ++same;
    } else {
      ++(apart(after) < 0.999f * apart(before) ? paler : turned);
    }
  }
  EXPECT_NEAR(same, 160, 40);  // two thirds of four fifths
  EXPECT_NEAR(turned, 80, 30);
  EXPECT_NEAR(paler, 60, 30);
}

TEST(Colours, OfGrayCropsStay) {
  const std::vector<float> before(4, 0.3f);
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    std::vector<float> after = before;
    core::Random random({seed});
    vary_colours(after, 4, random);
    ASSERT_EQ(after, before);
  }
}

TEST(Effort, EndsWhenRoundsBringNothingMore) {
  const struct {
    const char* what;
    std::vector<double> scores;
    int rounds;  // that are made; one more than there are: it goes on
  } cases[] = {
      {"good and idle", {0.9, 0.975, 0.976}, 3},
      {"nothing left to gain", {0.98, 0.995}, 2},
      {"good at once, by chance perhaps", {0.995}, 2},
      {"fair, two rounds without progress", {0.7, 0.705, 0.702}, 3},
      {"fair, after the usual rounds", {0.5, 0.6, 0.7, 0.8, 0.9}, 5},
      {"faint things rise yet", {0.1, 0.15, 0.2, 0.25, 0.3, 0.35, 0.4, 0.45, 0.5}, 9},
      {"faint things turn out fair", {0.3, 0.35, 0.4, 0.45, 0.5, 0.55, 0.62}, 7},
      {"nothing is found", {0.1, 0.1, 0.1, 0.1, 0.1}, 5},
      {"it rises", {0.5, 0.6, 0.7, 0.8}, 5},
  };
  for (const auto& [what, scores, rounds] : cases) {
    Progress progress(Effort{}, 0);
    int made = 0;
    bool over = false;
    while (!over && made < static_cast<int>(scores.size())) over = progress.is_over(scores[made++]);
    EXPECT_EQ(over ? made : made + 1, rounds) << what;
  }
}

}  // namespace
}  // namespace telvar::segmenter
