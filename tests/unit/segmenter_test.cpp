// The segmenter: what the engine sees, and the result images that come back.

#include <cmath>

#include "segmenter/SmartSegmenterWrapperImpl.h"
#include "telvar_msg/common.pb.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

namespace messages = telvar_msg::qv::segmentation;

telvar::types::Image EngineImage(unsigned char value) {
  const unsigned char pixels[] = {value, value, value, value};
  return telvar::types::Image(2, 2, 2, 1, 8, 0, pixels);
}

class Segmenter : public ScriptedTest {
 protected:
  Wrapper::SmartSegmenterWrapper tool_ = MakeTool<SegmenterTool>();
};

TEST_F(Segmenter, ProcessesTheRegionOfAnImageInPlace) {
  const auto image = HostImage();
  tool_.Process(image, std::make_shared<Types::ROI>(3.0f, 4.0f, 0.0f, 0.0f, 5U, 6U));
  const engine::Call call = engine::last("segmenter.process");
  EXPECT_THAT(call.layout, testing::ElementsAre(4, 2, 6, 1, 8, 0));
  EXPECT_EQ(call.pixels, image->pixels);
  EXPECT_THAT(call.transform, testing::ElementsAre(1, 0, 3, 0, 1, 4));
  EXPECT_TRUE(std::signbit(call.transform[1]));
  EXPECT_THAT(call.size, testing::ElementsAre(5, 6));
  EXPECT_EQ(engine::last("segmenter.model").parameters, "");

  tool_.Process(image, nullptr);
  EXPECT_THAT(engine::last("segmenter.process").transform, testing::ElementsAre(1, 0, 0, 0, 1, 0));
  EXPECT_THAT(engine::last("segmenter.process").size, testing::ElementsAre(0, 0));
}

TEST_F(Segmenter, MovesTheEnginesImagesToTheHost) {
  auto& images = engine::script().result_images;
  images["z"] = EngineImage(1);
  images[OddBytes()] = EngineImage(2);
  images[""];
  const unsigned char* const buffer = images["z"].pixels.data();
  engine::script().answers["segmenter.process"] = "\xff\xff";
  const auto result = tool_.Process(HostImage(), nullptr);
  std::vector<std::string> names;
  for (const auto& [name, image] : result.resultImages) names.push_back(name);
  EXPECT_THAT(names, testing::ElementsAre("", OddBytes(), "z"));
  EXPECT_EQ(result.resultImages.at("z")->pixels.data(), buffer);
  EXPECT_EQ(result.resultImages.at("z")->layout, (Types::ImageLayout{2, 2, 2, 1, 8, 0}));
  EXPECT_THAT(result.resultImages.at(OddBytes())->pixels, testing::ElementsAre(2, 2, 2, 2));
  EXPECT_TRUE(result.resultImages.at("")->pixels.empty());

  EXPECT_TRUE(tool_.Process(HostImage(), nullptr).resultImages.empty());
}

TEST_F(Segmenter, CollectsTheImagesThatABatchWrites) {
  Types::CommonDataSet batch;
  batch.samples["key"].imageId = "image";
  auto& write = engine::script().write;
  write.push_back({EngineImage(1), "image", "background"});
  write.push_back({EngineImage(2), "other", "scratch"});
  write.push_back({EngineImage(3), "image", "scratch"});
  write.push_back({EngineImage(4), "image", "background"});
  write.push_back({EngineImage(5), OddBytes(), ""});
  const unsigned char* const buffer = write[2].image.pixels.data();
  engine::script().answers["segmenter.batch"] = "ignored";
  engine::script().cache_update = "prepared";

  const auto results = tool_.BatchProcess(batch, LoadHostImage).results;
  ASSERT_EQ(results.size(), 3U);
  ASSERT_EQ(results.at("image").resultImages.size(), 2U);
  EXPECT_EQ(results.at("image").resultImages.at("background")->pixels[0], 4);
  EXPECT_EQ(results.at("image").resultImages.at("scratch")->pixels.data(), buffer);
  EXPECT_EQ(results.at("other").resultImages.at("scratch")->pixels[0], 2);
  EXPECT_EQ(results.at(OddBytes()).resultImages.at("")->pixels[0], 5);

  const engine::Call call = engine::last("segmenter.batch");
  EXPECT_THAT(call.writer_returned,
              testing::ElementsAre("image", "other", "image", "image", OddBytes()));
  EXPECT_EQ(call.artifact, "artifact");
  EXPECT_EQ(call.cache, engine::last("segmenter.cache.create").object);
  telvar_msg::common::Dataset seen;
  ASSERT_TRUE(seen.ParseFromString(call.dataset));
  EXPECT_EQ(seen.samples().at("key").image_id(), "image");
  EXPECT_EQ(engine::count("segmenter.model"), 0U);
  EXPECT_EQ(tool_.GetData()->trainCache, engine::saved_cache("prepared"));
}

TEST_F(Segmenter, BeginsEveryBatchWithoutImages) {
  engine::script().write = {{EngineImage(1), "first", "scratch"}};
  const auto first = tool_.BatchProcess({}, LoadHostImage).results;
  engine::script().write = {{EngineImage(2), "second", "scratch"}};
  EXPECT_EQ(tool_.BatchProcess({}, LoadHostImage).results.count("first"), 0U);
  EXPECT_EQ(first.at("first").resultImages.at("scratch")->pixels[0], 1);
}

TEST_F(Segmenter, ReturnsNothingForABatchThatWritesNothing) {
  EXPECT_TRUE(tool_.BatchProcess({}, LoadHostImage).results.empty());
  EXPECT_TRUE(engine::last("segmenter.batch").has_writer);
  EXPECT_EQ(engine::last("segmenter.batch").dataset, "");
}

TEST_F(Segmenter, TrainsOnImagesAndMasksWithoutAWriter) {
  Types::SmartSegmenter::Dataset dataset;
  dataset.categories = {"scratch", "dent", "scratch", "unused", OddBytes()};
  dataset.samples.resize(5);
  dataset.samples[0].imageId = "replaced";
  dataset.samples[0].categoryMasks = {{"dent", "mask 0"}};
  dataset.samples[1].imageId = OddBytes();
  dataset.samples[1].roi = std::make_shared<Types::ROI>(1.0f, 2.0f, 0.0f, 0.0f, 3U, 4U);
  dataset.samples[1].categoryMasks = {{"dent", "mask 1"}, {OddBytes(), OddBytes()}, {"", ""}};
  dataset.samples[2].imageId = "replaced";
  dataset.samples[3].imageId = std::string(1 << 20, '\xe9');
  dataset.samples[4] = {"no extent", std::make_shared<Types::ROI>(Types::ROI{3, 4})};
  testing::internal::CaptureStderr();
  tool_.Train(dataset, LoadHostImage, LoadHostImage);
  const engine::Call call = engine::last("segmenter.train");
  messages::Dataset seen;
  ASSERT_TRUE(seen.ParseFromString(call.dataset));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(call.dataset.size(),
            Wrapper::SmartSegmenterWrapper::Impl::ConvertSegmenterDataset(dataset).ByteSizeLong());
  EXPECT_EQ(call.parameters, "");
  EXPECT_FALSE(call.has_writer);

  EXPECT_EQ(seen.categories_size(), 4);
  for (const std::string& name : dataset.categories) EXPECT_TRUE(seen.categories().contains(name));
  ASSERT_EQ(seen.samples_size(), 4);
  const auto& replaced = seen.samples().at("replaced");
  EXPECT_EQ(replaced.image_id(), "replaced");
  EXPECT_EQ(replaced.category_masks_size(), 0);
  EXPECT_FALSE(replaced.has_region_of_interest());
  const auto& odd = seen.samples().at(OddBytes());
  EXPECT_EQ(odd.image_id(), OddBytes());
  ASSERT_EQ(odd.category_masks_size(), 3);
  EXPECT_EQ(odd.category_masks().at("dent"), "mask 1");
  EXPECT_EQ(odd.category_masks().at(OddBytes()), OddBytes());
  EXPECT_EQ(odd.region_of_interest().affine_transform().ty(), 2.0f);
  EXPECT_EQ(odd.region_of_interest().height(), 4U);
  ASSERT_TRUE(seen.samples().at("no extent").has_region_of_interest());
  EXPECT_EQ(seen.samples().at("no extent").region_of_interest().affine_transform().tx(), 3.0f);
}

TEST_F(Segmenter, KeepsTheImageLoaderAndTheMaskLoaderApart) {
  engine::script().ask_images = {"image"};
  engine::script().ask_masks = {"mask"};
  tool_.Train(
      {}, [](const std::string&) { return HostImage(10); },
      [](const std::string&) { return HostImage(20); });
  const engine::Call call = engine::last("segmenter.train");
  ASSERT_EQ(call.images.size(), 1U);
  EXPECT_EQ(call.images[0].image.pixels[0], 10);
  ASSERT_EQ(call.masks.size(), 1U);
  EXPECT_EQ(call.masks[0].image.pixels[0], 20);
}

TEST_F(Segmenter, ReturnsTheTrainingsScore) {
  messages::TrainingResult answer;
  answer.set_score(0.1f);
  engine::script().answers["segmenter.train"] = answer.SerializeAsString();
  EXPECT_EQ(tool_.Train({}, LoadHostImage, LoadHostImage).score, double{0.1f});
  engine::script().answers["segmenter.train"] = "\xff\xff";
  EXPECT_EQ(tool_.Train({}, LoadHostImage, LoadHostImage).score, 0.0);
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
