// Training the character reader: the dataset that the engine sees, and the result that comes back.

#include <cfenv>
#include <cmath>
#include <limits>

#include "ocr/SmartOCRWrapperImpl.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

using telvar_msg::qv::ocr::TrainingResult;
using Types::SmartOCR::Dataset;
using Types::SmartOCR::TrainData;
using Types::SmartOCR::TrainResult;
using Message = telvar_msg::qv::ocr::Dataset;

TrainData Image(const std::string& id, const std::vector<std::string>& categories) {
  TrainData data;
  data.imageId = id;
  for (const std::string& category : categories) {
    const double i = static_cast<double>(data.assignments.size());
    data.assignments.emplace_back(i + 0.1, -i, category);
  }
  return data;
}

class OcrTrain : public ScriptedTest {
 protected:
  TrainResult Train(const Dataset& dataset) { return tool_.Train(dataset, LoadHostImage); }

  Message Seen(const Dataset& dataset) {
    Train(dataset);
    Message message;
    EXPECT_TRUE(message.ParseFromString(engine::last("ocr.train").dataset));
    EXPECT_EQ(message.ByteSizeLong(),
              Wrapper::SmartOCRWrapper::Impl::ConvertOCRDataset(dataset).ByteSizeLong());
    return message;
  }

  Wrapper::SmartOCRWrapper tool_ = MakeTool<OcrTool>();
};

TEST_F(OcrTrain, SendsLabelsInOrderAndEachCategoryOnce) {
  Dataset dataset;
  dataset.width = 0.1;
  dataset.height = 20;
  dataset.trainData = {Image("image", {"A", "B", "A", "", "C", "A", "B", "B", "A", "C"})};
  const Message message = Seen(dataset);
  EXPECT_EQ(message.width(), 0.1f);
  EXPECT_EQ(message.height(), 20.0f);
  ASSERT_EQ(message.samples_size(), 1);
  const auto& sample = message.samples().at("image");
  EXPECT_EQ(sample.image_id(), "image");
  EXPECT_FALSE(sample.has_region_of_interest());
  ASSERT_EQ(sample.characters_size(), 10);
  for (int i = 0; i < 10; ++i) {
    const auto& expected = dataset.trainData[0].assignments[static_cast<std::size_t>(i)];
    EXPECT_EQ(sample.characters(i).category_id(), expected.categoryId);
    EXPECT_EQ(sample.characters(i).first_value(), static_cast<float>(expected.firstValue));
    EXPECT_EQ(sample.characters(i).second_value(), static_cast<float>(expected.secondValue));
  }
  EXPECT_EQ(message.categories_size(), 4);
  for (const char* category : {"A", "B", "C", ""})
    EXPECT_TRUE(message.categories().contains(category));
}

TEST_F(OcrTrain, SendsTheRegionOfAnImage) {
  Dataset dataset;
  dataset.trainData = {Image("image", {"A"})};
  dataset.trainData[0].roi = std::make_shared<Types::ROI>(1.0f, 2.0f, 0.0f, 0.0f, 3U, 4U);
  const auto region = Seen(dataset).samples().at("image").region_of_interest();
  EXPECT_EQ(region.affine_transform().m00(), 1.0f);
  EXPECT_TRUE(std::signbit(region.affine_transform().m01()));
  EXPECT_EQ(region.affine_transform().tx(), 1.0f);
  EXPECT_EQ(region.affine_transform().ty(), 2.0f);
  EXPECT_EQ(region.width(), 3U);
  EXPECT_EQ(region.height(), 4U);

  *dataset.trainData[0].roi = {3, 4};
  const auto empty = Seen(dataset).samples().at("image");
  EXPECT_TRUE(empty.has_region_of_interest());
  EXPECT_EQ(empty.region_of_interest().affine_transform().tx(), 3.0f);
  EXPECT_EQ(empty.region_of_interest().width(), 0U);
}

TEST_F(OcrTrain, LeavesOutImagesWithoutLabelsButAddSampleKeepsThem) {
  Dataset dataset;
  dataset.width = 1;
  dataset.trainData = {Image("labelled", {"A"}), Image("bare", {})};
  EXPECT_FALSE(Seen(dataset).samples().contains("bare"));

  Message message;
  Wrapper::SmartOCRWrapper::Impl::AddSample(message, Image("bare", {}));
  EXPECT_EQ(message.samples().at("bare").image_id(), "bare");
  EXPECT_EQ(message.categories_size(), 0);
}

TEST_F(OcrTrain, KeepsTheLaterOfTwoImagesWithOneIdentifier) {
  Dataset dataset;
  dataset.trainData = {Image("image", {"A", "B"}), Image("image", {"C"})};
  const Message message = Seen(dataset);
  ASSERT_EQ(message.samples_size(), 1);
  ASSERT_EQ(message.samples().at("image").characters_size(), 1);
  EXPECT_EQ(message.samples().at("image").characters(0).category_id(), "C");
  EXPECT_EQ(message.categories_size(), 3);
}

TEST_F(OcrTrain, CarriesIdentifiersOfAnyBytesSilently) {
  const std::string ids[] = {"", OddBytes(), std::string(1 << 20, '\xe9')};
  Dataset dataset;
  TrainingResult answer;
  for (const std::string& id : ids) {
    dataset.trainData.push_back(Image(id, {id}));
    (*answer.mutable_labeled_sample_results())[id].add_character_label_confidence(0.5f);
  }
  testing::internal::CaptureStderr();
  engine::script().answers["ocr.train"] = answer.SerializeAsString();
  const TrainResult result = Train(dataset);
  Message message;
  EXPECT_TRUE(message.ParseFromString(engine::last("ocr.train").dataset));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  for (const std::string& id : ids) {
    EXPECT_EQ(message.samples().at(id).image_id(), id);
    EXPECT_TRUE(message.categories().contains(id));
    EXPECT_EQ(result.labeledSampleResults->count(id), 1U);
  }
}

TEST_F(OcrTrain, SendsDefaultParameters) {
  Train({});
  EXPECT_EQ(engine::last("ocr.train").parameters, "");
}

TEST_F(OcrTrain, PassesSizesThatAreNoSizesToTheEngine) {
  Dataset dataset;
  dataset.width = std::numeric_limits<double>::quiet_NaN();
  dataset.height = -std::numeric_limits<double>::infinity();
  const Message message = Seen(dataset);
  EXPECT_TRUE(std::isnan(message.width()));
  EXPECT_EQ(message.height(), -std::numeric_limits<float>::infinity());
}

TEST_F(OcrTrain, ConvertsTheResult) {
  TrainingResult answer;
  answer.mutable_training_duration()->set_seconds(90);
  answer.mutable_training_duration()->set_nanos(1999999);
  answer.set_result_value(0.1f);
  auto& results = *answer.mutable_labeled_sample_results();
  for (const float value : {0.3f, 0.1f, 0.2f}) results["b"].add_character_label_confidence(value);
  results["\xff"];
  results["a"].add_character_label_confidence(1);
  engine::script().answers["ocr.train"] = answer.SerializeAsString();
  const TrainResult result = Train({});
  EXPECT_EQ(result.trainingTime, 90001.0);
  EXPECT_EQ(result.resultValue, double{0.1f});
  std::vector<std::string> ids;
  for (const auto& [id, values] : *result.labeledSampleResults) ids.push_back(id);
  EXPECT_THAT(ids, testing::ElementsAre("a", "b", "\xff"));
  EXPECT_THAT(*result.labeledSampleResults->at("b"), testing::ElementsAre(0.3f, 0.1f, 0.2f));
  EXPECT_TRUE(result.labeledSampleResults->at("\xff")->empty());
}

TEST_F(OcrTrain, GivesAnEmptyResultForAnAnswerThatDoesNotParse) {
  engine::script().answers["ocr.train"] = "\xff\xff";
  const TrainResult result = Train({});
  EXPECT_EQ(result.trainingTime, 0.0);
  EXPECT_EQ(result.resultValue, 0.0);
  ASSERT_NE(result.labeledSampleResults, nullptr);
  EXPECT_TRUE(result.labeledSampleResults->empty());
}

TEST_F(OcrTrain, BuildsTheModelForTheDatasetsSize) {
  engine::script().new_artifact = "";
  Dataset dataset;
  dataset.width = 10;
  dataset.height = 20;
  Train(dataset);
  tool_.Process(HostImage(), nullptr, {10, 20});
  EXPECT_EQ(engine::count("ocr.model"), 1U);
  // Another size rebuilds, even without a new artifact.
  dataset.height = 21;
  Train(dataset);
  EXPECT_EQ(engine::count("ocr.model"), 2U);
  telvar_msg::qv::ocr::RuntimeParameters parameters;
  ASSERT_TRUE(parameters.ParseFromString(engine::last("ocr.model").parameters));
  EXPECT_EQ(parameters.width(), 10.0f);
  EXPECT_EQ(parameters.height(), 21.0f);
}

TEST_F(OcrTrain, NarrowsInNoModeOfTheHosts) {
  for (const int rounding : {FE_UPWARD, FE_DOWNWARD}) {
    Dataset dataset;
    dataset.width = 10.1;
    dataset.height = 10.3;
    dataset.trainData = {Image("image", {"A"})};
    dataset.trainData[0].assignments[0].secondValue = 0.3;
    std::fesetround(rounding);
    Train(dataset);
    std::fesetround(FE_TONEAREST);
    Message message;
    ASSERT_TRUE(message.ParseFromString(engine::last("ocr.train").dataset));
    EXPECT_EQ(message.width(), 10.1f);
    EXPECT_EQ(message.height(), 10.3f);
    const auto& label = message.samples().at("image").characters(0);
    EXPECT_EQ(label.first_value(), 0.1f);
    EXPECT_EQ(label.second_value(), 0.3f);
    telvar_msg::qv::ocr::RuntimeParameters parameters;
    ASSERT_TRUE(parameters.ParseFromString(engine::last("ocr.model").parameters));
    EXPECT_EQ(parameters.width(), 10.1f);
    EXPECT_EQ(parameters.height(), 10.3f);
  }
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests
