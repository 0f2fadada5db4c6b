#include "classifier/SmartClassifierWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

telvar_msg::qv::classification::Dataset SmartClassifierWrapper::Impl::ConvertClassifierDataset(
    const Types::SmartClassifier::Dataset& dataset) {
  telvar_msg::qv::classification::Dataset message;
  for (const auto& entry : dataset.samples) AddClassifierSample(message, entry);
  return message;
}

void SmartClassifierWrapper::Impl::AddClassifierSample(
    telvar_msg::qv::classification::Dataset& dataset,
    std::pair<std::string, Types::SmartClassifier::Sample> entry) {
  auto& [key, sample] = entry;
  telvar_msg::qv::classification::Sample message;
  message.set_image_id(std::move(sample.imageId));
  message.set_category_id(sample.categoryId);
  dataset.mutable_categories()->insert({sample.categoryId, {}});
  (*dataset.mutable_samples())[key] = std::move(message);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
