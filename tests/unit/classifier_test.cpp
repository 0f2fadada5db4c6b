// The classifier: what the engine sees, and how its answers come back.

#include "telvar_msg/classification.pb.h"
#include "telvar_msg/common.pb.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

namespace messages = telvar_msg::qv::classification;
using Types::SmartClassifier::CategoryScore;

using Scores = std::vector<std::pair<std::string, double>>;

Scores Pairs(const std::vector<CategoryScore>& scores) {
  Scores pairs;
  for (const CategoryScore& score : scores) pairs.emplace_back(score.categoryId, score.score);
  return pairs;
}

void AddScores(messages::SampleResult& sample, const Scores& scores) {
  for (const auto& [id, value] : scores) {
    auto& score = *sample.add_scores();
    score.set_category_id(id);
    score.set_score(static_cast<float>(value));
  }
}

// Not by score, one category twice, names of any bytes.
const Scores kScores = {{"b", 0.25}, {"a", 0.5}, {"b", 0.125}, {OddBytes(), -1}, {"", 0}};

class Classifier : public ScriptedTest {
 protected:
  Wrapper::SmartClassifierWrapper tool_ = MakeTool<ClassifierTool>();
};

TEST_F(Classifier, ProcessesTheWholeImageInPlace) {
  const auto image = HostImage();
  tool_.Process(image);
  const engine::Call call = engine::last("classifier.process");
  EXPECT_THAT(call.layout, testing::ElementsAre(4, 2, 6, 1, 8, 0));
  EXPECT_EQ(call.pixels, image->pixels);
  EXPECT_THAT(call.transform, testing::ElementsAre(1, 0, 0, 0, 1, 0));
  EXPECT_THAT(call.size, testing::ElementsAre(0, 0));
  EXPECT_EQ(engine::last("classifier.model").parameters, "");
  EXPECT_EQ(image.use_count(), 1);
}

TEST_F(Classifier, GivesScoresInTheEnginesOrder) {
  messages::Result answer;
  AddScores(*answer.mutable_sample(), kScores);
  AddScores(*answer.mutable_sample(), {{"narrow", 0.1f}});
  engine::script().answers["classifier.process"] = answer.SerializeAsString();
  Scores expected = kScores;
  expected.emplace_back("narrow", double{0.1f});
  EXPECT_EQ(Pairs(tool_.Process(HostImage()).scores), expected);

  engine::script().answers["classifier.process"] = "";
  EXPECT_TRUE(tool_.Process(HostImage()).scores.empty());
}

TEST_F(Classifier, ProcessesABatchFromItsArtifactWithoutAModel) {
  Types::CommonDataSet batch;
  batch.samples["key"].imageId = "image";
  messages::ProcessingResult answer;
  AddScores((*answer.mutable_samples())["key"], kScores);
  (*answer.mutable_samples())[OddBytes()];
  engine::script().answers["classifier.batch"] = answer.SerializeAsString();
  engine::script().cache_update = "prepared";
  const auto result = tool_.BatchProcess(batch, LoadHostImage);
  ASSERT_EQ(result.samples.size(), 2U);
  EXPECT_EQ(Pairs(result.samples.at("key")), kScores);
  EXPECT_TRUE(result.samples.at(OddBytes()).empty());

  const engine::Call call = engine::last("classifier.batch");
  EXPECT_EQ(call.artifact, "artifact");
  EXPECT_EQ(call.cache, engine::last("classifier.cache.create").object);
  telvar_msg::common::Dataset seen;
  ASSERT_TRUE(seen.ParseFromString(call.dataset));
  ASSERT_EQ(seen.samples_size(), 1);
  EXPECT_EQ(seen.samples().at("key").image_id(), "image");
  EXPECT_EQ(engine::count("classifier.model"), 0U);
  EXPECT_EQ(tool_.GetData()->trainCache, engine::saved_cache("prepared"));
}

TEST_F(Classifier, TrainsOnEverySampleAndItsCategories) {
  Types::SmartClassifier::Dataset dataset;
  dataset.categories = {"never read"};
  dataset.samples["first"] = {"image 1", "cat"};
  dataset.samples["second"] = {"image 1", "cat"};
  dataset.samples[""] = {"", ""};
  dataset.samples[OddBytes()] = {OddBytes(), OddBytes()};
  dataset.samples["long"] = {std::string(1 << 20, '\xe9'), "dog"};
  testing::internal::CaptureStderr();
  tool_.Train(dataset, LoadHostImage);
  messages::Dataset seen;
  ASSERT_TRUE(seen.ParseFromString(engine::last("classifier.train").dataset));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_EQ(seen.samples_size(), 5);
  for (const auto& [key, sample] : dataset.samples) {
    EXPECT_EQ(seen.samples().at(key).image_id(), sample.imageId);
    EXPECT_EQ(seen.samples().at(key).category_id(), sample.categoryId);
  }
  EXPECT_EQ(seen.categories_size(), 4);
  for (const std::string& category : {std::string("cat"), std::string("dog"), OddBytes()}) {
    EXPECT_TRUE(seen.categories().contains(category));
  }
}

TEST_F(Classifier, TrainsWithSettingTen) {
  tool_.Train({}, LoadHostImage);
  messages::TrainingParameters parameters;
  ASSERT_TRUE(parameters.ParseFromString(engine::last("classifier.train").parameters));
  EXPECT_EQ(parameters.training_setting(), 10);
}

TEST_F(Classifier, ReturnsTheEnginesTrainingResult) {
  messages::TrainingResult answer;
  answer.set_overall_score(0.1f);
  AddScores((*answer.mutable_samples())["key"], kScores);
  (*answer.mutable_samples())["none"];
  engine::script().answers["classifier.train"] = answer.SerializeAsString();
  const auto result = tool_.Train({}, LoadHostImage);
  EXPECT_EQ(result.overallScore, double{0.1f});
  ASSERT_EQ(result.samples.size(), 2U);
  EXPECT_EQ(Pairs(result.samples.at("key")), kScores);
  EXPECT_TRUE(result.samples.at("none").empty());

  engine::script().answers["classifier.train"] = "\xff\xff";
  EXPECT_EQ(tool_.Train({}, LoadHostImage).overallScore, 0.0);
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
