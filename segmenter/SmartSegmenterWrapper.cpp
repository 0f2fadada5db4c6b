#include "segmenter/SmartSegmenterWrapper.h"

#include <utility>

#include "segmenter/SmartSegmenterWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

SmartSegmenterWrapper::SmartSegmenterWrapper(std::unique_ptr<Types::SmartSegmenter::Data> data,
                                             std::shared_ptr<TelvarSegmenterAccess> access)
    : impl_(std::make_unique<Impl>(std::move(data), std::move(access))) {}

SmartSegmenterWrapper::~SmartSegmenterWrapper() = default;

std::unique_ptr<Types::SmartSegmenter::Data> SmartSegmenterWrapper::GetData() const {
  return impl_->GetData();
}

Types::SmartSegmenter::TrainingResult SmartSegmenterWrapper::Train(
    const Types::SmartSegmenter::Dataset& dataset, const ImageLoader& loadImage,
    const ImageLoader& loadMask) {
  return impl_->Train(dataset, loadImage, loadMask);
}

Types::SmartSegmenter::ProcessResult SmartSegmenterWrapper::Process(
    const std::shared_ptr<Types::Image>& image, const std::shared_ptr<Types::ROI>& roi) {
  return impl_->Process(image, roi);
}

Types::SmartSegmenter::ProcessResults SmartSegmenterWrapper::BatchProcess(
    const Types::CommonDataSet& dataset, const ImageLoader& loadImage) {
  return impl_->BatchProcess(dataset, loadImage);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
