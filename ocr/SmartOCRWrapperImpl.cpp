#include "ocr/SmartOCRWrapperImpl.h"

#include <limits>

#include "bridge/Guard.h"
#include "bridge/ImageConversion.h"
#include "bridge/Messages.h"
#include "bridge/RegionConversion.h"
#include "bridge/TrainCache.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

std::unique_ptr<telvar::qv::ocr::TrainCache> CreateTrainCache() {
  return telvar::qv::ocr::TrainCache::create(std::numeric_limits<unsigned long long>::max());
}

}  // namespace

SmartOCRWrapper::Impl::Impl(std::unique_ptr<Types::SmartOCR::Data> data,
                            std::shared_ptr<TelvarAccess> access)
    : trainCache_(CreateTrainCache()),
      trainingParameters_(telvar_msg::qv::ocr::TrainingParameters().SerializeAsString()),
      access_(access ? std::move(access) : std::make_shared<TelvarAccess>()),
      model_(Types::SmartOCR::Size(0.0f, 0.0f), std::move(data->artifact)) {
  RestoreTrainCache(trainCache_, data->trainCache, CreateTrainCache);
}

SmartOCRWrapper::Impl::~Impl() = default;

Types::SmartOCR::TrainResult SmartOCRWrapper::Impl::Train(const Types::SmartOCR::Dataset& dataset,
                                                          const ImageLoader& loadImage) {
  const std::string message = SerializeFilled<telvar_msg::qv::ocr::Dataset>(
      [&](auto& filled) { FillDataset(dataset, filled); });
  auto [answer, artifact] = access_->Train(model_.Artifact(), message, trainingParameters_,
                                           AdaptImageLoader(loadImage), *trainCache_);
  model_.Update(NominalSize(dataset), std::move(artifact));
  return ConvertTelvarOCRTrainingResult(*Answer<telvar_msg::qv::ocr::TrainingResult>(answer));
}

SmartOCRWrapper::Impl::ReadAnswer SmartOCRWrapper::Impl::ProcessInternal(
    const std::shared_ptr<Types::Image>& image, const std::shared_ptr<Types::ROI>& roi,
    const Types::SmartOCR::Size& size) {
  return TryQvCallWithReturn([&] {
    model_.Update(size, std::string());
    // Update throws rather than leave the holder without a model; if it ever does, nothing is read.
    if (model_.IsEmpty()) return ReadAnswer(std::string());
    const EngineRegion region = ConvertToEngineRegion(roi);
    const telvar::types::ImageView view = ConvertToImageView(image);
    return ReadAnswer(access_->Process(model_, view, region.transform, region.size));
  });
}

Types::SmartOCR::ProcessResult SmartOCRWrapper::Impl::Process(
    const std::shared_ptr<Types::Image>& image, const std::shared_ptr<Types::ROI>& roi,
    const Types::SmartOCR::Size& size) {
  return ConvertTelvarOCRResults(*ProcessInternal(image, roi, size));
}

// Fielding runs outside the guard: ApplyFielding maps its failures itself.
Types::SmartOCR::ProcessResult SmartOCRWrapper::Impl::Process(
    const std::shared_ptr<Types::Image>& image, const std::shared_ptr<Types::ROI>& roi,
    const Types::SmartOCR::Size& size, const Types::SmartOCR::BasicFielding& fielding) {
  const ReadAnswer answer = ProcessInternal(image, roi, size);
  Types::SmartOCR::ProcessResult result = ConvertTelvarOCRResults(*answer);
  FieldingMessage message;
  ConvertFielding(fielding, *message);
  result.fieldingResult = ApplyFielding(*message, answer->sample());
  return result;
}

Types::SmartOCR::ProcessResult SmartOCRWrapper::Impl::Process(
    const std::shared_ptr<Types::Image>& image, const std::shared_ptr<Types::ROI>& roi,
    const Types::SmartOCR::Size& size, const Types::SmartOCR::AdvancedFielding& fielding) {
  const ReadAnswer answer = ProcessInternal(image, roi, size);
  Types::SmartOCR::ProcessResult result = ConvertTelvarOCRResults(*answer);
  FieldingMessage message;
  ConvertFielding(fielding, *message);
  result.fieldingResult = ApplyFielding(*message, answer->sample());
  return result;
}

// Not guarded: the engine's exceptions pass as they are.
std::vector<std::vector<std::uint64_t>> SmartOCRWrapper::Impl::SortCharacters(
    const std::vector<std::pair<float, float>>& points, float height) const {
  return telvar::qv::ocr::sort_characters(points, height);
}

std::unique_ptr<Types::SmartOCR::Data> SmartOCRWrapper::Impl::GetData() const {
  const std::string trainCache = SaveTrainCache(*trainCache_);
  return std::make_unique<Types::SmartOCR::Data>(model_.Artifact(), trainCache);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
