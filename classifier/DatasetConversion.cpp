#include "classifier/SmartClassifierWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

void SmartClassifierWrapper::Impl::FillDataset(const Types::SmartClassifier::Dataset& dataset,
                                               telvar_msg::qv::classification::Dataset& message) {
  for (const auto& entry : dataset.samples) AddClassifierSample(message, entry);
}

void SmartClassifierWrapper::Impl::AddClassifierSample(
    telvar_msg::qv::classification::Dataset& dataset,
    std::pair<std::string, Types::SmartClassifier::Sample> entry) {
  telvar_msg::qv::classification::Sample& message = (*dataset.mutable_samples())[entry.first];
  message.Clear();
  message.set_image_id(std::move(entry.second.imageId));
  message.set_category_id(entry.second.categoryId);
  (*dataset.mutable_categories())[entry.second.categoryId];
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
