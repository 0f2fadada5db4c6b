#include <google/protobuf/util/time_util.h>

#include "bridge/RegionConversion.h"
#include "ocr/SmartOCRWrapperImpl.h"
#include "telvar_numeric/default_mode.h"

namespace Orbalt::TelvarWrapper::Wrapper {

using google::protobuf::util::TimeUtil;

namespace {

using LabelConfidences = std::vector<float>;

std::shared_ptr<LabelConfidences> ConvertConfidences(
    const telvar_msg::qv::ocr::LabeledSampleResult& result) {
  auto confidences = std::make_shared<LabelConfidences>();
  confidences->reserve(static_cast<std::size_t>(result.character_label_confidence_size()));
  for (const float confidence : result.character_label_confidence()) {
    confidences->push_back(confidence);
  }
  return confidences;
}

}  // namespace

Types::SmartOCR::Size SmartOCRWrapper::Impl::NominalSize(const Types::SmartOCR::Dataset& dataset) {
  const telvar::numeric::DefaultMode mode;  // not the host's rounding of double to float
  return {static_cast<float>(dataset.width), static_cast<float>(dataset.height)};
}

telvar_msg::qv::ocr::Dataset SmartOCRWrapper::Impl::ConvertOCRDataset(
    const Types::SmartOCR::Dataset& dataset) {
  telvar_msg::qv::ocr::Dataset message;
  FillDataset(dataset, message);
  return message;
}

void SmartOCRWrapper::Impl::FillDataset(const Types::SmartOCR::Dataset& dataset,
                                        telvar_msg::qv::ocr::Dataset& message) {
  const Types::SmartOCR::Size size = NominalSize(dataset);
  message.set_width(size.width);
  message.set_height(size.height);
  for (const Types::SmartOCR::TrainData& data : dataset.trainData) {
    if (!data.assignments.empty()) AddSample(message, data);
  }
}

void SmartOCRWrapper::Impl::AddSample(telvar_msg::qv::ocr::Dataset& dataset,
                                      const Types::SmartOCR::TrainData& data) {
  const telvar::numeric::DefaultMode mode;  // as in NominalSize
  telvar_msg::qv::ocr::Sample& sample = (*dataset.mutable_samples())[data.imageId];
  sample.Clear();
  sample.set_image_id(data.imageId);
  if (data.roi) FillRegion(*data.roi, *sample.mutable_region_of_interest());
  sample.mutable_characters()->Reserve(static_cast<int>(data.assignments.size()));
  for (const Types::SmartOCR::TrainDataAssignment& assignment : data.assignments) {
    telvar_msg::qv::ocr::CharacterLabel& label = *sample.add_characters();
    label.set_first_value(static_cast<float>(assignment.firstValue));
    label.set_second_value(static_cast<float>(assignment.secondValue));
    label.set_category_id(assignment.categoryId);
    (*dataset.mutable_categories())[assignment.categoryId];
  }
}

Types::SmartOCR::TrainResult SmartOCRWrapper::Impl::ConvertTelvarOCRTrainingResult(
    const telvar_msg::qv::ocr::TrainingResult& result) {
  Types::SmartOCR::TrainResult converted;
  converted.trainingTime =
      static_cast<double>(TimeUtil::DurationToMilliseconds(result.training_duration()));
  converted.resultValue = result.result_value();
  converted.labeledSampleResults =
      std::make_shared<std::map<std::string, std::shared_ptr<LabelConfidences>>>();
  for (const auto& [imageId, sample] : result.labeled_sample_results()) {
    converted.labeledSampleResults->emplace(imageId, ConvertConfidences(sample));
  }
  return converted;
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
