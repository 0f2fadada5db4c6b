#include "classifier/SmartClassifierWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

void SmartClassifierWrapper::Impl::ConvertClassifierDataset(
    const Types::SmartClassifier::Dataset& dataset,
    telvar_msg::qv::classification::Dataset& message) {
  for (const auto& entry : dataset.samples) AddClassifierSample(message, entry);
}

void SmartClassifierWrapper::Impl::AddClassifierSample(
    telvar_msg::qv::classification::Dataset& dataset,
    std::pair<std::string, Types::SmartClassifier::Sample> entry) {
  auto& [key, sample] = entry;
  telvar_msg::qv::classification::Sample& message = (*dataset.mutable_samples())[key];
  message.Clear();
  message.set_image_id(std::move(sample.imageId));
  message.set_category_id(sample.categoryId);
  (*dataset.mutable_categories())[sample.categoryId];
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
