// What samples become before they are learned from: tiles, through the cache, and which of them
// judge.

#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "core/cache_session.h"
#include "segmenter/evaluation.h"
#include "segmenter/held_out.h"
#include "segmenter/limits.h"
#include "segmenter/network/context.h"
#include "segmenter/preparation.h"
#include "segmenter/rotation.h"

namespace telvar::segmenter {
namespace {

using ::testing::ElementsAre;

types::Image gray(unsigned width, unsigned height, unsigned char level) {
  const std::vector<unsigned char> pixels(std::size_t{width} * height, level);
  return types::Image(width, height, width, 1, 8, 0, pixels.data());
}

/// One sample of one image, with a mask of one of two categories.
struct Source {
  Source(unsigned width, unsigned height)
      : image(gray(width, height, 100)), mask(gray(width, height, 0)) {
    request.categories = {"crack", "pore"};
    request.samples.resize(1);
    request.samples[0].masks["pore"] = "mask";
  }

  PreparedSample prepare(core::TrainCacheStore& store) const {
    core::CacheSession session(store);
    auto samples = prepare_samples(
        request, request.categories, kOverviewSide, [&](const std::string&) { return image; },
        [&](const std::string&) { return mask; }, session);
    session.commit();
    return samples.at(0);
  }

  TrainingRequest request;
  types::Image image, mask;
};

/// The bytes that a cache keeps of a sample.
std::string bytes_of(const PreparedSample& sample) {
  core::ByteWriter writer;
  writer.u32(static_cast<std::uint32_t>(sample.tiles.size()));
  for (const TrainingTile& tile : sample.tiles) {
    write_tile(writer, tile);
    write_place(writer, tile.origin.place);
  }
  write_tile(writer, sample.overview);
  return writer.take();
}

/// The key under which a source's sample is kept.
core::CacheKey key_of(const Source& source) {
  core::TrainCacheStore store(core::Tool::kSegmenter, ~std::uint64_t{0});
  source.prepare(store);
  std::ostringstream saved;
  store.save(saved);
  const std::string bytes = saved.str();
  core::ByteReader reader(bytes);
  reader.raw("header", 16);
  EXPECT_EQ(reader.u64("entries"), 1u);
  core::CacheKey key;
  key.image_id = reader.text("image", 100);
  key.digest = reader.u64("digest");
  return key;
}

TEST(Preparation, TakesFromTheCacheWhatIsTheSameAlone) {
  const Source first(40, 40);
  // What is found under the key is used: here, a tile that no preparation would make.
  core::TrainCacheStore planted(core::Tool::kSegmenter, ~std::uint64_t{0});
  const std::string other = bytes_of(Source(30, 30).prepare(planted));
  planted.put(key_of(first), std::make_shared<const std::string>(other));
  EXPECT_EQ(bytes_of(first.prepare(planted)), other);

  const std::pair<const char*, void (*)(Source&)> changes[] = {
      {"a pixel", [](Source& s) { s.image.pixels[7] = 1; }},
      {"a mask's pixel", [](Source& s) { s.mask.pixels[7] = 1; }},
      {"no mask", [](Source& s) { s.request.samples[0].masks.clear(); }},
      {"the mask's category",
       [](Source& s) {
         s.request.samples[0].masks = {{"crack", "mask"}};
       }},
      {"the image", [](Source& s) { s.request.samples[0].image_id = "another"; }},
      {"the region's place",
       [](Source& s) {
         s.request.samples[0].region = {{1, 0, 1, 0, 1, 0}, {20, 20}};
       }},
      {"the region's size",
       [](Source& s) {
         s.request.samples[0].region = {{1, 0, 0, 0, 1, 0}, {20, 21}};
       }},
      {"another category",
       [](Source& s) {
         s.request.categories = {"crack", "pore", "scratch"};
       }},
  };
  for (const auto& [name, change] : changes) {
    Source changed = first;
    change(changed);
    const core::CacheKey old = key_of(first), key = key_of(changed);
    EXPECT_TRUE(old < key || key < old) << name;
  }
}

TEST(Preparation, KeepsEightTilesOfALargeImageTheLabelledOnesFirst) {
  Source source(1700, 1200);
  for (int y = 1100; y < 1200; ++y) {
    for (int x = 1600; x < 1700; ++x) {
      source.mask.pixels[std::size_t(y) * 1700 + x] = 255;
      source.image.pixels[std::size_t(y) * 1700 + x] = 200;
    }
  }
  core::TrainCacheStore none(core::Tool::kSegmenter, 0);
  const PreparedSample sample = source.prepare(none);
  EXPECT_EQ(sample.overview.width, kOverviewSide);
  EXPECT_EQ(sample.overview.height, 45);
  ASSERT_NE(find_label(sample.overview, 1), nullptr);
  const auto& tiles = sample.tiles;
  ASSERT_EQ(tiles.size(), std::size_t{kMaxTilesPerSample});
  ASSERT_EQ(tiles[0].labels.size(), 1u);
  EXPECT_EQ(tiles[0].labels[0].category, 1);
  int marked = 0;
  for (std::size_t i = 0; i < tiles[0].area(); ++i) {
    const bool inside = bit_at(tiles[0].labels[0].bits, i);
    marked += inside;
    ASSERT_FLOAT_EQ(tiles[0].value(i) * 255, inside ? 200 : 100) << i;
  }
  EXPECT_EQ(marked, 100 * 100);
  const PlaceInRegion& place = tiles[0].origin.place;
  EXPECT_EQ(place.x + tiles[0].width, 1700);
  EXPECT_EQ(place.y + tiles[0].height, 1200);
  EXPECT_EQ(place.width, 1700);
  for (std::size_t k = 0; k < tiles.size(); ++k) {
    EXPECT_LE(std::max(tiles[k].width, tiles[k].height), kTileSide);
    EXPECT_EQ(tiles[k].known, 0b11u);
    EXPECT_EQ(tiles[k].labels.empty(), k > 0);
  }
}

/// Samples of one small tile each; those named have the category.
std::vector<PreparedSample> samples_with(int count, const std::vector<std::set<int>>& categories) {
  std::vector<PreparedSample> samples(count);
  for (int i = 0; i < count; ++i) {
    std::vector<core::Mask> masks(categories.size(), core::Mask(8, 8));
    for (std::size_t c = 0; c < categories.size(); ++c) {
      if (categories[c].count(i) != 0) masks[c].at(3, 3) = 1;
    }
    samples[i].tiles.push_back(make_tile(core::Raster(8, 8, 1), 1, masks, 0b11));
  }
  return samples;
}

TEST(Judging, LooksAtEveryCategoryThatOccurs) {
  for (int lonely = 0; lonely < 6; ++lonely) {
    const auto samples = samples_with(6, {{lonely}, {0, 1, 2, 3, 4, 5}});
    const auto held = choose_held_out(samples, 2);
    EXPECT_FALSE(held[lonely]);  // nothing else could teach its category
    const auto judging = choose_judging(samples, held, 2);
    EXPECT_EQ(judging.size(), 2u);
    EXPECT_NE(find_label(*judging.back(), 0), nullptr);
  }
  // No sample can be spared: all judge. A category without pixels asks for nothing.
  const auto singles = samples_with(2, {{0}, {1}});
  EXPECT_EQ(choose_judging(singles, choose_held_out(singles, 2), 2).size(), 2u);
  const auto empty = samples_with(5, {{}, {0, 1, 2, 3, 4}});
  EXPECT_EQ(choose_judging(empty, choose_held_out(empty, 2), 2).size(), 1u);
}

TEST(Judging, TurnsToFurtherSamplesForWhatIsRare) {
  // Category 0 is in three of twelve samples, category 1 in most of them.
  const std::set<int> rare{2, 5, 8};
  const auto samples = samples_with(12, {rare, {0, 1, 2, 3, 4, 6, 7, 9, 10, 11}});
  const auto held = choose_held_out(samples, 2);
  const auto rotation = choose_rotation(samples, held, 2);
  EXPECT_THAT(rotation.categories, ElementsAre(0));
  std::set<int> judged;
  for (const int i : rare) {
    if (held[i]) judged.insert(i);
  }
  EXPECT_EQ(judged.size(), 1U);
  for (const std::size_t i : rotation.samples) judged.insert(static_cast<int>(i));
  EXPECT_EQ(judged, rare);
  EXPECT_THAT(rotation.judged, ElementsAre(3));
  // What occurs once has nothing else to be learned from, and what is frequent is judged already.
  for (const auto& categories : {std::set<int>{4}, std::set<int>{0, 1, 2, 3, 4, 5}}) {
    const auto others = samples_with(12, {categories, {}});
    EXPECT_TRUE(choose_rotation(others, choose_held_out(others, 2), 2).samples.empty());
  }
}

TEST(Judging, DoubtsWhatFewSamplesSay) {
  EXPECT_NEAR(mean_iou({doubted({900, 1000, 1000}, 3)}), 6.5 / 7, 1e-3);
  EXPECT_NEAR(mean_iou({doubted({900, 1000, 1000}, 1)}), 2.5 / 3, 1e-3);
  EXPECT_NEAR(mean_iou({doubted({900, 0, 1000}, 3)}), 0.5 / 7, 1e-3);
}

TEST(Judging, MeansOverTheCategoriesThatHaveLabels) {
  EXPECT_EQ(mean_iou({}), 0);
  EXPECT_EQ(mean_iou({{100, 50, 200}, {0, 0, 30}, {0, 0, 0}}), 0.25);
  EXPECT_EQ(mean_iou({{100, 50, 200}, {10, 0, 10}}), 0.125);
}

}  // namespace
}  // namespace telvar::segmenter
