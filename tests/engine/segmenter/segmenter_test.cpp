// What a trained segmenter does, and what its state guarantees.

#include <gmock/gmock.h>

#include <iostream>
#include <sstream>
#include <thread>

#include "../support/host_state.h"
#include "../support/other_environment.h"
#include "../support/resources.h"
#include "core/artifact.h"
#include "scene.h"
#include "telvar/exceptions.h"
#include "telvar_msg/common.pb.h"

namespace telvar::segmenter_test {
namespace {

using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::Key;

/// Of the payload.
constexpr std::uint32_t kVersion = 3;

constexpr types::AffineTransform kIdentity{1, 0, 0, 0, 1, 0};

/// One training, shared by the tests that only use its result.
class TrainedSegmenter : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    scenes_ = new Scenes(make_scenes(6, 1, {"disc", "square"}));
    cache_ = seg::TrainCache::create(false, ~0ULL).release();
    auto [result, artifact] = seg::train("", scenes_->message(), "", scenes_->loader(),
                                         scenes_->mask_loader(), *cache_, {});
    telvar_msg::qv::segmentation::TrainingResult parsed;
    ASSERT_TRUE(parsed.ParseFromString(result));
    score_ = parsed.score();
    artifact_ = new std::string(artifact);
  }

  static void TearDownTestSuite() {
    delete artifact_;
    delete cache_;
    delete scenes_;
  }

  static std::map<std::string, types::Image> segment(const types::Image& image,
                                                     const types::AffineTransform& transform,
                                                     types::Size2<unsigned> size,
                                                     unsigned threads = 1) {
    const seg::Model model(*artifact_, "", types::CpuDevice(threads));
    return std::get<1>(model.process(types::ImageView(image), transform, size));
  }

  static Scenes* scenes_;
  static seg::TrainCache* cache_;
  static std::string* artifact_;
  static float score_;
};

Scenes* TrainedSegmenter::scenes_ = nullptr;
seg::TrainCache* TrainedSegmenter::cache_ = nullptr;
std::string* TrainedSegmenter::artifact_ = nullptr;
float TrainedSegmenter::score_ = 0;

TEST_F(TrainedSegmenter, FindsWhatItWasShownInUnseenScenes) {
  const auto iou = measure(*artifact_, make_scenes(10, 99, {"disc", "square"}));
  EXPECT_THAT(iou, ElementsAre(Key("disc"), Key("square")));
  EXPECT_GT(iou.at("disc"), 0.8);
  EXPECT_GT(iou.at("square"), 0.8);
  EXPECT_GT(score_, 0.7f);
  EXPECT_LE(score_, 1.0f);
}

TEST_F(TrainedSegmenter, TakesOtherLayoutsThanItLearnedFrom) {
  const auto iou = measure(*artifact_, make_scenes(10, 99, {"disc", "square"}, {4, 16, true}));
  EXPECT_GT(iou.at("disc"), 0.8);
  EXPECT_GT(iou.at("square"), 0.8);
}

TEST_F(TrainedSegmenter, AnswersInTheRegionsSizeAndPlace) {
  const types::Image& image = scenes_->images.begin()->second;
  const auto whole = segment(image, kIdentity, {0, 0});
  const auto part = segment(image, {1, 0, 8, 0, 1, 16}, {32, 24});
  // Turned by a quarter: region x runs along image y.
  const auto turned = segment(image, {0, 1, 0, 1, 0, 0}, {kSide, kSide});
  const types::Image& reference = whole.at("square");
  const types::Image& cut = part.at("square");
  EXPECT_THAT(cut.layout, ElementsAre(32, 24, 32, 1, 8, 0));
  int cut_agree = 0, turned_agree = 0;
  for (int y = 0; y < 24; ++y) {
    for (int x = 0; x < 32; ++x) {
      cut_agree +=
          (cut.pixels[y * 32 + x] >= 128) == (reference.pixels[(y + 16) * kSide + x + 8] >= 128);
    }
  }
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      turned_agree += (turned.at("square").pixels[y * kSide + x] >= 128) ==
                      (reference.pixels[x * kSide + y] >= 128);
    }
  }
  EXPECT_GT(cut_agree, 32 * 24 * 95 / 100);
  EXPECT_GT(turned_agree, kSide * kSide * 95 / 100);
}

TEST_F(TrainedSegmenter, ShowsNoSeamBetweenPieces) {
  // A scene repeated over an area of several pieces: apart from its border, every copy must come
  // out like the others, wherever the seams lie.
  const types::Image& scene = scenes_->images.begin()->second;
  constexpr int kCopies = 14, kWide = kSide * kCopies;
  std::vector<unsigned char> pixels(kWide * kWide);
  for (int y = 0; y < kWide; ++y) {
    for (int x = 0; x < kWide; ++x) {
      pixels[y * kWide + x] = scene.pixels[y % kSide * kSide + x % kSide];
    }
  }
  const types::Image wide = gray_image(kWide, kWide, pixels);
  for (const auto& [category, found] : segment(wide, kIdentity, {0, 0})) {
    const auto at = [&, &image = found](int x, int y) { return image.pixels[y * kWide + x]; };
    int worst = 0;
    for (int y = 4 * kSide; y < kWide - 4 * kSide; ++y) {
      for (int x = 4 * kSide; x < kWide - 4 * kSide; ++x) {
        worst =
            std::max(worst, std::abs(at(x, y) - at(x % kSide + 4 * kSide, y % kSide + 4 * kSide)));
      }
    }
    EXPECT_LE(worst, 12) << category;
  }
}

TEST_F(TrainedSegmenter, GivesTheSameImagesWithAnyNumberOfThreadsAndFromManyCallers) {
  const types::Image& image = scenes_->images.begin()->second;
  const types::AffineTransform stretched{0.05f, 0, 0, 0, 0.05f, 0};
  const types::Size2<unsigned> size{640, 530};
  const auto one = segment(image, stretched, size, 1);
  const auto two = segment(image, stretched, size, 2);
  EXPECT_EQ(one.at("disc").pixels, two.at("disc").pixels);
  const seg::Model model(*artifact_, "", types::CpuDevice(2));
  std::vector<std::vector<unsigned char>> found(3);
  std::vector<std::thread> callers;
  for (auto& pixels : found) {
    callers.emplace_back([&] {
      auto answer = model.process(types::ImageView(image), stretched, size);
      pixels = std::get<1>(answer).at("disc").pixels;
    });
  }
  for (std::thread& caller : callers) caller.join();
  for (const auto& pixels : found) EXPECT_EQ(pixels, one.at("disc").pixels);
}

TEST_F(TrainedSegmenter, WritesABatchInOrderOnTheCallersThread) {
  telvar_msg::common::Dataset batch;
  std::vector<std::string> expected, written;
  int key = 0;
  for (const auto& [id, image] : scenes_->images) {
    (*batch.mutable_samples())["key-" + std::to_string(key++)].set_image_id(id);
    for (const char* category : {"disc", "square"}) expected.push_back(id + ":" + category);
  }
  const auto caller = std::this_thread::get_id();
  const test::HostState host;
  const auto loader = [&](const std::string& id) {
    EXPECT_TRUE(test::HostState::is_kept());
    return scenes_->images.at(id);
  };
  const auto writer = [&](types::Image&& image, const std::string& id, const std::string& name) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    EXPECT_TRUE(test::HostState::is_kept());
    EXPECT_EQ(image.pixels, segment(scenes_->images.at(id), kIdentity, {0, 0}).at(name).pixels);
    written.push_back(id + ":" + name);
    return id;
  };
  seg::process(*artifact_, batch.SerializeAsString(), loader, writer, *cache_);
  EXPECT_EQ(written, expected);
  EXPECT_THROW(seg::process(*artifact_, "\xFF", scenes_->loader(), writer, *cache_),
               types::invalid_message);
  EXPECT_THROW(seg::process("", "", scenes_->loader(), writer, *cache_),
               types::invalid_training_artifact);
}

TEST_F(TrainedSegmenter, TrainsToTheSameBytesWithACacheOnOneCoreAndBesideAnotherTraining) {
  std::string cached, alone, other;
  const auto again = [&](std::string& artifact, seg::TrainCache& cache) {
    artifact = std::get<1>(seg::train("", scenes_->message(), "", scenes_->loader(),
                                      scenes_->mask_loader(), cache, {}));
  };
  std::stringstream stream;
  save(*cache_, stream);
  const auto loaded = seg::TrainCache::create(false, ~0ULL);
  load(*loaded, stream);
  const auto empty = seg::TrainCache::create(true, 0);
  std::thread beside = test::on_one_core([&] { again(cached, *loaded); });
  again(alone, *empty);
  beside.join();
  EXPECT_EQ(cached, *artifact_);
  EXPECT_EQ(alone, *artifact_);
}

/// Run by the next test in a process of its own.
TEST_F(TrainedSegmenter, DISABLED_PrintsItsDigest) {
  std::cout << test::digest_line(*artifact_) << std::flush;
}

TEST_F(TrainedSegmenter, DoesNotDependOnTheEnvironment) {
  EXPECT_THAT(test::printed_in_another_environment("*PrintsItsDigest"),
              HasSubstr(test::digest_line(*artifact_)));
}

TEST_F(TrainedSegmenter, RefusesEveryDamagedArtifact) {
  const std::string& good = *artifact_;
  const auto open = [](const std::string& bytes) { seg::Model(bytes, "", types::CpuDevice(1)); };
  EXPECT_THROW(open(""), types::invalid_training_artifact);
  EXPECT_THROW(open(good + '\0'), types::invalid_training_artifact);
  const std::size_t stride = good.size() / 97;
  for (std::size_t at = 0; at < good.size(); at += at < 64 ? 1 : stride) {
    EXPECT_THROW(open(good.substr(0, at)), types::invalid_training_artifact) << at;
    std::string changed = good;
    changed[at] = static_cast<char>(changed[at] ^ 0x41);
    EXPECT_THROW(open(changed), types::invalid_training_artifact) << at;
  }
}

TEST_F(TrainedSegmenter, RefusesArtifactsOfOtherToolsAndNewerVersions) {
  const auto open = [](const std::string& bytes) { seg::Model(bytes, "", types::CpuDevice(1)); };
  EXPECT_THROW(open(core::write_artifact(core::Tool::kOcr, 1, "")),
               types::training_artifact_tool_type_error);
  EXPECT_THROW(open(core::write_artifact(core::Tool::kSegmenter, 99, "")),
               types::training_artifact_unsupported_version);
}

TEST_F(TrainedSegmenter, SurvivesPayloadsWhoseChecksumIsRight) {
  const auto opened = core::open_artifact(*artifact_, core::Tool::kSegmenter, kVersion);
  const auto survives = [&](const std::string& payload) {
    try {
      const seg::Model model(core::write_artifact(core::Tool::kSegmenter, kVersion, payload), "",
                             types::CpuDevice(1));
      const types::Image& image = scenes_->images.begin()->second;
      model.process(types::ImageView(image), kIdentity, {0, 0});
    } catch (const types::invalid_training_artifact&) {
    }
  };
  const std::string good(opened.payload);
  const std::size_t tail = good.size() - 6 * kSide * kSide;
  for (std::size_t at = 0; at < good.size(); at += at < 400 ? 7 : at < tail ? 100003 : 997) {
    for (const unsigned char value : {0x00, 0xFF}) {
      std::string changed = good;
      changed[at] = static_cast<char>(value);
      survives(changed);
    }
    EXPECT_THROW(
        seg::Model(core::write_artifact(core::Tool::kSegmenter, kVersion, good.substr(0, at)), "",
                   types::CpuDevice(1)),
        types::invalid_training_artifact);
  }
}

TEST_F(TrainedSegmenter, RefusesWhatAModelCannotUse) {
  const seg::Model model(*artifact_, "", types::CpuDevice(1));
  const types::Image& image = scenes_->images.begin()->second;
  const types::ImageView good(image);
  EXPECT_THROW(model.process(types::ImageView(types::Image()), kIdentity, {0, 0}),
               types::invalid_image_size);
  EXPECT_THROW(model.process({48, 48, 47, 1, 8, 0, image.pixels.data()}, kIdentity, {0, 0}),
               types::invalid_image);
  EXPECT_THROW(model.process({48, 48, 48, 1, 8, 0, nullptr}, kIdentity, {0, 0}),
               types::invalid_image);
  EXPECT_THROW(model.process(good, {1, 1, 0, 1, 1, 0}, {9, 9}), types::invalid_roi);
  EXPECT_THROW(model.process(good, kIdentity, {9, 0}), types::invalid_roi);
  EXPECT_THROW(seg::Model(*artifact_, "x", types::CpuDevice(1)), types::invalid_parameters);
}

TEST_F(TrainedSegmenter, SavesACacheThatIsLoadedWholeOrRefused) {
  std::ostringstream stream;
  save(*cache_, stream);
  const std::string good = stream.str();
  EXPECT_GT(good.size(), std::size_t{6 * kSide * kSide});
  const auto fresh = seg::TrainCache::create(false, ~0ULL);
  const auto attempt = [&](const std::string& bytes) {
    std::istringstream in(bytes);
    load(*fresh, in);
  };
  EXPECT_NO_THROW(attempt(good));
  for (std::size_t at = 0; at < good.size(); at += 1 + good.size() / 97) {
    EXPECT_THROW(attempt(good.substr(0, at)), types::read_error) << at;
    std::string changed = good;
    changed[at] = static_cast<char>(changed[at] ^ 0x41);
    EXPECT_THROW(attempt(changed), types::read_error) << at;
  }
  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  EXPECT_THROW(save(*cache_, broken), types::write_error);
}

}  // namespace
}  // namespace telvar::segmenter_test
