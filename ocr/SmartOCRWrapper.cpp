#include "ocr/SmartOCRWrapper.h"

#include <utility>

#include "ocr/SmartOCRWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

SmartOCRWrapper::SmartOCRWrapper(std::unique_ptr<Types::SmartOCR::Data> data,
                                 std::shared_ptr<TelvarAccess> access)
    : impl_(std::make_unique<Impl>(std::move(data), std::move(access))) {}

SmartOCRWrapper::~SmartOCRWrapper() = default;

Types::SmartOCR::TrainResult SmartOCRWrapper::Train(const Types::SmartOCR::Dataset& dataset,
                                                    const ImageLoader& loadImage) {
  return impl_->Train(dataset, loadImage);
}

Types::SmartOCR::ProcessResult SmartOCRWrapper::Process(
    std::shared_ptr<Types::Image> image, const std::shared_ptr<Types::ROI>& roi,
    const Types::SmartOCR::Size& size, const Types::SmartOCR::AdvancedFielding& fielding) {
  return impl_->Process(image, roi, size, fielding);
}

Types::SmartOCR::ProcessResult SmartOCRWrapper::Process(
    std::shared_ptr<Types::Image> image, const std::shared_ptr<Types::ROI>& roi,
    const Types::SmartOCR::Size& size, const Types::SmartOCR::BasicFielding& fielding) {
  return impl_->Process(image, roi, size, fielding);
}

Types::SmartOCR::ProcessResult SmartOCRWrapper::Process(std::shared_ptr<Types::Image> image,
                                                        const std::shared_ptr<Types::ROI>& roi,
                                                        const Types::SmartOCR::Size& size) {
  return impl_->Process(image, roi, size);
}

std::vector<std::vector<std::uint64_t>> SmartOCRWrapper::SortCharacters(
    const std::vector<std::pair<float, float>>& points, float height) {
  return impl_->SortCharacters(points, height);
}

std::unique_ptr<Types::SmartOCR::Data> SmartOCRWrapper::GetData() const {
  return impl_->GetData();
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
