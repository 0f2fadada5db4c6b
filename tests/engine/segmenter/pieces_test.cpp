// How regions are cut up and put together again, and how tiles are kept.

#include <gmock/gmock.h>

#include <cmath>

#include "core/bytes.h"
#include "segmenter/network/blend.h"
#include "segmenter/network/inference.h"
#include "segmenter/network/network.h"
#include "segmenter/network/tiling.h"
#include "segmenter/samples/exemplars.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {
namespace {

using ::testing::Each;
using ::testing::FloatNear;

TEST(Pieces, CoverEveryLengthWithinTheirSizeAndOverlapAsAsked) {
  for (const int length : {1, 15, 511, 512, 513, 961, 1024, 1280, 4097, 32768}) {
    const PiecePlan plan = plan_pieces(length, length, 512, 64, 16);
    EXPECT_EQ(plan.columns.front().begin, 0);
    EXPECT_EQ(plan.columns.back().begin + plan.columns.back().size, length);
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
      EXPECT_LE(plan.columns[i].size, 512);
      EXPECT_EQ(plan.columns[i].begin % 16, 0);
      if (i == 0) continue;
      const TileSpan& before = plan.columns[i - 1];
      EXPECT_GE(before.begin + before.size - plan.columns[i].begin, 64) << length;
    }
  }
}

TEST(Pieces, BlendWeightsSumToOneEverywhere) {
  for (const int length : {513, 961, 1100, 2000}) {
    const PiecePlan plan = plan_pieces(length, 8, 512, 64, 16);
    std::vector<float> sums(length);
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
      for (int at = 0; at < plan.columns[i].size; ++at) {
        sums[plan.columns[i].begin + at] += blend_weight(plan.columns, i, at, 32);
      }
    }
    EXPECT_THAT(sums, Each(FloatNear(1.0f, 1e-5f))) << length;
  }
}

TEST(Pieces, AMirroredPredictorAnswersMirrorImagesAlike) {
  InputSpec spec;
  const nn::Network net = make_initial_net(spec.planes(), 2, 1);
  constexpr int kWidth = 64, kHeight = 32;
  std::vector<float> pixels(kWidth * kHeight), mirrored(pixels.size());
  core::Random random({3});
  for (int i = 0; i < kWidth * kHeight; ++i) {
    pixels[i] = random.uniform();
    mirrored[(kHeight - 1 - i / kWidth) * kWidth + kWidth - 1 - i % kWidth] = pixels[i];
  }
  for (const bool mean : {true, false}) {
    spec.mirrored = mean;
    const Predictor predictor(net, spec);
    const auto one = predictor.predict_piece(pixels.data(), kWidth, kHeight, {}, {});
    const auto other = predictor.predict_piece(mirrored.data(), kWidth, kHeight, {}, {});
    double worst = 0;
    for (int c = 0; c < 2; ++c) {
      const float* const from = one.data() + c * pixels.size();
      const float* const back = other.data() + (c + 1) * pixels.size() - 1;
      for (int i = 0; i < kWidth * kHeight; ++i) {
        worst = std::max<double>(worst, std::fabs(from[i] - back[-i]));
      }
    }
    EXPECT_EQ(worst < 1e-3, mean) << worst;
  }
}

TEST(Pieces, BlendingPutsAFieldTogetherAgain) {
  const PiecePlan plan = plan_pieces(250, 230, 128, 64, 16);
  ASSERT_GT(plan.rows.size(), 2U);
  const auto field = [](int c, int x, int y) {
    return static_cast<float>((c * 50 + x + y) % 255) / 255;
  };
  BandBlender blender(plan, 2);
  for (std::size_t r = 0; r < plan.rows.size(); ++r) {
    for (std::size_t c = 0; c < plan.columns.size(); ++c) {
      std::vector<float> piece;
      for (int k = 0; k < 2; ++k) {
        for (int y = 0; y < plan.rows[r].size; ++y) {
          for (int x = 0; x < plan.columns[c].size; ++x) {
            piece.push_back(field(k, plan.columns[c].begin + x, plan.rows[r].begin + y));
          }
        }
      }
      blender.add_piece(r, c, piece);
    }
  }
  const auto images = blender.take();
  ASSERT_EQ(images.size(), 2U);
  for (int y = 0; y < 230; ++y) {
    for (int x = 0; x < 250; ++x) {
      ASSERT_EQ(images[1].pixels[y * 250 + x], (50 + x + y) % 255) << x << ", " << y;
    }
  }
}

TrainingTile make_example(int width, int height, int channels, int depth) {
  core::Raster pixels(width, height, channels);
  for (std::size_t i = 0; i < pixels.values.size(); ++i) {
    pixels.values[i] = static_cast<float>(i * 37 % 256) / 255;
  }
  std::vector<core::Mask> masks(3, core::Mask(width, height));
  for (int i = 0; i < width * height; i += 3) masks[2].values[i] = 1;
  return make_tile(pixels, depth, masks, 0b101);
}

TEST(TrainingTiles, SurviveTheirBytes) {
  for (const int channels : {1, 3}) {
    for (const int depth : {1, 2}) {
      const TrainingTile tile = make_example(13, 7, channels, depth);
      core::ByteWriter writer;
      write_tile(writer, tile);
      core::ByteReader reader(writer.bytes());
      const TrainingTile back = read_tile(reader, 16, 3);
      EXPECT_EQ(reader.remaining(), 0U);
      EXPECT_EQ(back.pixels, tile.pixels);
      EXPECT_EQ(back.channels, channels);
      ASSERT_EQ(back.labels.size(), 1U);
      EXPECT_EQ(back.labels[0].category, 2);
      EXPECT_EQ(back.labels[0].bits, tile.labels[0].bits);
      EXPECT_NEAR(back.value(5), static_cast<float>(5 * 37 % 256) / 255, 1e-6);
    }
  }
}

TEST(TrainingTiles, RefuseWhatTheirLimitsExclude) {
  core::ByteWriter writer;
  write_tile(writer, make_example(13, 7, 1, 1));
  const auto read = [&](int side, int categories) {
    core::ByteReader reader(writer.bytes());
    read_tile(reader, side, categories);
  };
  EXPECT_NO_THROW(read(13, 3));
  EXPECT_THROW(read(12, 3), core::malformed_bytes);
  EXPECT_THROW(read(13, 2), core::malformed_bytes);
  // A label without a pixel: only the 5 bits that no pixel has are set.
  std::string bytes = writer.bytes();
  bytes.replace(bytes.size() - 12, 12, std::string(11, '\0') + '\xF8');
  core::ByteReader reader(bytes);
  EXPECT_THROW(read_tile(reader, 13, 3), core::malformed_bytes);
}

TEST(TrainingTiles, AreCutWithTheirLabels) {
  const TrainingTile tile = make_example(13, 7, 1, 1);
  const TrainingTile part = cut_tile(tile, 4, 2, 5, 3);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) {
      const int source = (y + 2) * 13 + x + 4;
      EXPECT_EQ(part.value(y * 5 + x), tile.value(source));
      EXPECT_EQ(bit_at(part.labels[0].bits, y * 5 + x), source % 3 == 0);
    }
  }
}

TEST(Exemplars, AreBoundedAndServeEveryCategory) {
  std::vector<TrainingTile> tiles;
  for (int i = 0; i < 90; ++i) {
    core::Raster pixels(20, 20, 1);
    std::vector<core::Mask> masks(2);
    // One tile in thirty has the second category, one in two has any.
    if (i % 2 == 0) masks[i % 30 == 0 ? 1 : 0] = core::Mask(20, 20);
    for (core::Mask& mask : masks) std::fill(mask.values.begin(), mask.values.end(), 1);
    tiles.push_back(make_tile(pixels, 1, masks, 0b11));
  }
  std::vector<const TrainingTile*> pointers;
  for (const TrainingTile& tile : tiles) pointers.push_back(&tile);
  const auto chosen = choose_exemplars(pointers, 2);
  EXPECT_EQ(chosen.size(), std::size_t{kMaxExemplars});
  int rare = 0, empty = 0;
  for (const TrainingTile& tile : chosen) {
    rare += find_label(tile, 1) != nullptr;
    empty += tile.labels.empty();
  }
  EXPECT_EQ(rare, 3);
  EXPECT_GE(empty, 20);
}

}  // namespace
}  // namespace telvar::segmenter
