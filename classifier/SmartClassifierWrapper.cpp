#include "classifier/SmartClassifierWrapper.h"

#include <utility>

#include "classifier/SmartClassifierWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

SmartClassifierWrapper::SmartClassifierWrapper(std::unique_ptr<Types::SmartClassifier::Data> data,
                                               std::shared_ptr<TelvarClassifierAccess> access)
    : impl_(std::make_unique<Impl>(std::move(data), std::move(access))) {}

SmartClassifierWrapper::~SmartClassifierWrapper() = default;

std::unique_ptr<Types::SmartClassifier::Data> SmartClassifierWrapper::GetData() const {
  return impl_->GetData();
}

Types::SmartClassifier::TrainingResult SmartClassifierWrapper::Train(
    const Types::SmartClassifier::Dataset& dataset, const ImageLoader& loadImage) {
  return impl_->Train(dataset, loadImage);
}

Types::SmartClassifier::Result SmartClassifierWrapper::Process(
    std::shared_ptr<Types::Image> image) {
  return impl_->Process(image);
}

Types::SmartClassifier::SamplesResult SmartClassifierWrapper::BatchProcess(
    const Types::CommonDataSet& dataset, const ImageLoader& loadImage) {
  return impl_->BatchProcess(dataset, loadImage);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
