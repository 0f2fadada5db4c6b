#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>

#include "classifier/features/features.h"
#include "classifier/features/orders.h"
#include "classifier/samples/augmentation.h"
#include "classifier/samples/dihedral.h"
#include "classifier/samples/preparation.h"
#include "classifier/training_set.h"
#include "core/random.h"
#include "telvar/exceptions.h"

namespace telvar::classifier {
namespace {

Thumbnail flat(int width, int height, int channels, int bits, int level) {
  Thumbnail thumbnail;
  thumbnail.width = width, thumbnail.height = height;
  thumbnail.channels = channels, thumbnail.bits = bits;
  for (int i = 0; i < width * height * channels; ++i) {
    thumbnail.pixels.push_back(static_cast<char>(level & 255));
    if (bits == 16) thumbnail.pixels.push_back(static_cast<char>(level >> 8));
  }
  return thumbnail;
}

TEST(Canvas, FollowsTheImages) {
  struct Case {
    std::vector<Thumbnail> images;
    int width, height, channels;
  };
  for (const Case& c :
       {Case{{flat(28, 28, 1, 8, 9), flat(28, 28, 1, 8, 9)}, 28, 28, 1},
        Case{{flat(8, 8, 1, 8, 9)}, 28, 28, 1}, Case{{flat(96, 48, 3, 8, 9)}, 96, 48, 3},
        Case{{flat(4, 96, 1, 8, 9)}, 24, 96, 1},
        Case{{flat(40, 40, 1, 8, 9), flat(40, 40, 3, 8, 9), flat(40, 40, 1, 8, 9)}, 40, 40, 3}}) {
    const Canvas canvas = choose_canvas(c.images);
    EXPECT_EQ(canvas.width, c.width);
    EXPECT_EQ(canvas.height, c.height);
    EXPECT_EQ(canvas.channels, c.channels);
  }
}

TEST(Canvas, SpreadsDarkSixteenBitImages) {
  // 12 bits of data in 16.
  const std::vector<Thumbnail> images = {flat(28, 28, 1, 16, 4095), flat(28, 28, 1, 16, 1024)};
  const Canvas canvas = choose_canvas(images);
  EXPECT_EQ(letterbox(images[0], canvas)[0], 255);
  EXPECT_EQ(letterbox(images[1], canvas)[0], 64);
}

TEST(Place, TakesOtherLayoutsThanTheCanvasWasChosenFor) {
  const std::vector<Thumbnail> dark = {flat(28, 28, 1, 16, 4095)};
  const Canvas gray = choose_canvas(dark);
  EXPECT_EQ(letterbox(flat(28, 28, 1, 8, 100), gray)[0], 100);
  Thumbnail green = flat(28, 28, 3, 8, 0);
  std::fill_n(green.pixels.begin() + 28 * 28, 28 * 28, static_cast<char>(200));
  EXPECT_EQ(letterbox(green, gray)[0], 117);  // its luma
  Canvas colour;
  colour.channels = 3;
  const Sample spread = letterbox(flat(28, 28, 1, 8, 90), colour);
  EXPECT_EQ(std::count(spread.begin(), spread.end(), 90), 3 * 28 * 28);
}

TEST(Place, KeepsTheAspectRatioAndRepeatsEdges) {
  Canvas canvas;
  Thumbnail wide = flat(28, 14, 1, 8, 0);
  for (int x = 0; x < 28; ++x) wide.pixels[x] = static_cast<char>(200);  // the top row
  const Sample sample = letterbox(wide, canvas);
  EXPECT_EQ(sample[0], 200);
  EXPECT_EQ(sample[7 * 28], 200);
  EXPECT_EQ(sample[8 * 28], 0);
  EXPECT_EQ(sample[27 * 28 + 27], 0);
}

/// Calls `from(x, y)` for the place of the image that comes to each place.
template <class From>
Sample moved(const Sample& sample, const Canvas& canvas, From from) {
  Sample out;
  for (int c = 0; c < canvas.channels; ++c) {
    for (int y = 0; y < canvas.height; ++y) {
      for (int x = 0; x < canvas.width; ++x) {
        const auto [u, v] = from(x, y);
        out.push_back(sample[canvas.plane_size() * c + std::size_t(v) * canvas.width + u]);
      }
    }
  }
  return out;
}

Sample mirrored(const Sample& sample, const Canvas& canvas) {
  return moved(sample, canvas, [&](int x, int y) { return std::pair(canvas.width - 1 - x, y); });
}

Sample turned_half(const Sample& sample, const Canvas& canvas) {
  return moved(sample, canvas, [&](int x, int y) {
    return std::pair(canvas.width - 1 - x, canvas.height - 1 - y);
  });
}

/// Clockwise by a quarter; needs a square canvas.
Sample turned_quarter(const Sample& sample, const Canvas& canvas) {
  return moved(sample, canvas, [&](int x, int y) { return std::pair(y, canvas.width - 1 - x); });
}

TEST(FeatureOrders, AreWhatTheMirroredAndTurnedImageGives) {
  for (const auto& [width, height, channels] :
       {std::array{28, 28, 1}, std::array{96, 96, 3}, std::array{52, 20, 1}}) {
    Canvas canvas;
    canvas.width = width, canvas.height = height, canvas.channels = channels;
    core::Random random({11});
    Sample sample;
    for (std::size_t i = 0; i < canvas.sample_size(); ++i) {
      // Flat parts, slopes along the axes and noise.
      const int kind = static_cast<int>(i % width) / 9 % 3;
      sample.push_back(static_cast<std::uint8_t>(kind == 0   ? 90
                                                 : kind == 1 ? i % width * 2
                                                             : random.below(256)));
    }
    const Features features = describe(sample, canvas, kEveryGroup);
    for (const DihedralTransform& transform : transforms_of({true, Turns::kAny})) {
      if (transform.turns_sideways() && width != height) continue;
      Sample seen = transform.mirrored ? mirrored(sample, canvas) : sample;
      for (int turn = 0; turn < transform.quarter_turns / 2; ++turn)
        seen = turned_half(seen, canvas);
      if (transform.turns_sideways()) seen = turned_quarter(seen, canvas);
      const Features expected = describe(seen, canvas, kEveryGroup);
      const FeatureOrder order = order_under(canvas, transform);
      for (int g = 0; g < kFeatureGroups; ++g) {
        ASSERT_EQ(order[g].size(), expected[g].size()) << g;
        for (std::size_t i = 0; i < expected[g].size(); ++i) {
          ASSERT_NEAR(features[g][order[g][i]], expected[g][i], 1e-4)
              << width << " px, mirrored " << transform.mirrored << ", quarter turns "
              << transform.quarter_turns << ", group " << g << ", value " << i;
        }
      }
    }
  }
}

TEST(Symmetry, TransformsFormAGroup) {
  const auto moved_cells = [](const DihedralTransform& transform) {
    std::array<int, 9> cells{};
    for (int i = 0; i < 9; ++i) {
      const Cell from = cell_before(transform, {i % 3, i / 3}, 3, 3);
      cells[i] = 3 * from.y + from.x;
    }
    return cells;
  };
  for (const bool mirrored : {false, true}) {
    for (const auto& [turns, count] : {std::pair(Turns::kNone, 1), std::pair(Turns::kUpsideDown, 2),
                                       std::pair(Turns::kAny, 4)}) {
      std::set<std::array<int, 9>> all;
      const std::vector<DihedralTransform> transforms = transforms_of({mirrored, turns});
      for (const auto& transform : transforms) all.insert(moved_cells(transform));
      EXPECT_EQ(all.size(), static_cast<std::size_t>(mirrored ? 2 * count : count));
      for (const auto& first : transforms) {
        for (const auto& second : transforms) {
          std::array<int, 9> both{};
          for (int i = 0; i < 9; ++i) both[i] = moved_cells(first)[moved_cells(second)[i]];
          EXPECT_EQ(all.count(both), 1u)
              << first.quarter_turns << " after " << second.quarter_turns;
        }
      }
    }
  }
}

TEST(Augmentation, TurnsUpsideDownOnly) {
  Canvas canvas;
  core::Random random({3});
  Sample sample;
  for (std::size_t i = 0; i < canvas.sample_size(); ++i) {
    sample.push_back(static_cast<std::uint8_t>(random.below(256)));
  }
  std::vector<float> upright(sample.size()), turned(sample.size()), drawn(sample.size());
  normalise(sample, canvas, upright.data());
  normalise(turned_half(sample, canvas), canvas, turned.data());
  const auto shows = [&](const std::vector<float>& expected) {
    for (std::size_t i = 0; i < drawn.size(); ++i) {
      if (std::abs(drawn[i] - expected[i]) > 0.01f) return false;
    }
    return true;
  };
  int turns = 0;
  for (int i = 0; i < 60; ++i) {
    augment(sample, canvas, {false, Turns::kUpsideDown}, 0, random, drawn.data());
    ASSERT_TRUE(shows(upright) || shows(turned));
    turns += shows(turned);
  }
  EXPECT_GT(turns, 15);
  EXPECT_LT(turns, 45);
}

std::vector<DatasetEntry> entries(int count) {
  std::vector<DatasetEntry> all;
  for (int i = 0; i < count; ++i) all.push_back({std::to_string(i), "", i % 2 ? "odd" : "even"});
  return all;
}

std::vector<Sample> numbered(int count) {
  std::vector<Sample> all;
  for (int i = 0; i < count; ++i) {
    all.push_back(Sample(Canvas().sample_size(), static_cast<std::uint8_t>(i)));
  }
  return all;
}

ExemplarMemory memory_of(const TrainingSet& set) {
  ExemplarMemory memory;
  memory.categories = set.categories;
  for (const int i : set.exemplars) {
    memory.exemplars.push_back({set.labels[i], set.folds[i], set.samples[i]});
  }
  return memory;
}

TEST(TrainingSet, DealsFoldsEvenlyAndRemembersThem) {
  const TrainingSet first = join_samples(entries(16), numbered(16), nullptr, 4);
  std::vector<int> counts(8);
  for (int i = 0; i < 16; ++i) ++counts[first.labels[i] * 4 + first.folds[i]];
  for (const int count : counts) EXPECT_EQ(count, 2);
  const ExemplarMemory memory = memory_of(first);
  // Half of the old samples come again, one under another label, and new ones beside them.
  auto again = entries(24);
  again[1].category_id = "even";
  auto samples = numbered(24);
  again.erase(again.begin() + 8, again.begin() + 16);
  samples.erase(samples.begin() + 8, samples.begin() + 16);
  const TrainingSet second = join_samples(again, samples, &memory, 4);
  EXPECT_EQ(second.samples.size(), 24u);
  EXPECT_EQ(second.from_dataset, 16u);
  EXPECT_EQ(second.labels[1], 0);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(second.folds[i], first.folds[i]);
}

TEST(TrainingSet, DealsEqualSamplesToAllFolds) {
  // More of each category than is kept: 20 of 100.
  constexpr int kCategories = 100, kEach = 21;
  std::vector<DatasetEntry> all;
  for (int i = 0; i < kCategories * kEach; ++i) {
    all.push_back({std::to_string(i), "", std::to_string(i % kCategories)});
  }
  const std::vector<Sample> equal(all.size(), Sample(Canvas().sample_size(), 7));
  for (const auto& [nets, share] : {std::pair(4, 4), {1, 20}}) {
    const TrainingSet first = join_samples(all, equal, nullptr, nets);
    const ExemplarMemory memory = memory_of(first);
    const TrainingSet second = join_samples(all, equal, &memory, nets);
    for (const TrainingSet* set : {&first, &second}) {
      const auto held_out = std::count(set->folds.begin(), set->folds.end(), 0);
      EXPECT_NEAR(held_out, kCategories * kEach / share, kCategories) << nets;
    }
  }
}

TEST(Thumbnail, IsTakenFromTheCacheForItsOwnImageOnly) {
  const std::vector<unsigned char> pixels(200 * 100 * 3);
  const types::ImageView image(200, 100, 600, 3, 8, 2, pixels.data());
  EXPECT_EQ(decode(encode(make_thumbnail(image, 64)), image, 64).height, 32);
  EXPECT_EQ(decode(encode(flat(64, 32, 3, 8, 9)), image, 64).channels, 3);
  for (const Thumbnail& other :
       {flat(96, 48, 1, 8, 9), flat(32, 64, 1, 8, 9), flat(64, 32, 1, 16, 9)}) {
    EXPECT_THROW(decode(encode(other), image, 64), core::malformed_bytes);
  }
}

}  // namespace
}  // namespace telvar::classifier
