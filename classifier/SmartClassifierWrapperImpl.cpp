#include "classifier/SmartClassifierWrapperImpl.h"

#include "bridge/CommonDataset.h"
#include "bridge/Guard.h"
#include "bridge/ImageConversion.h"
#include "bridge/Messages.h"
#include "bridge/TrainCache.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

/// The engine's normal training effort.
constexpr int kTrainingSetting = 10;

std::unique_ptr<telvar::qv::classifier::TrainCache> CreateTrainCache() {
  return telvar::qv::classifier::TrainCache::create(false);
}

}  // namespace

SmartClassifierWrapper::Impl::Impl(std::unique_ptr<Types::SmartClassifier::Data> data,
                                   std::shared_ptr<TelvarClassifierAccess> access)
    : trainCache_(CreateTrainCache()),
      access_(access ? std::move(access) : std::make_shared<TelvarClassifierAccess>()),
      model_(std::move(data->artifact)) {
  telvar_msg::qv::classification::TrainingParameters parameters;
  parameters.set_training_setting(kTrainingSetting);
  trainingParameters_ = parameters.SerializeAsString();
  RestoreTrainCache(trainCache_, data->trainCache, CreateTrainCache);
}

SmartClassifierWrapper::Impl::~Impl() = default;

std::unique_ptr<Types::SmartClassifier::Data> SmartClassifierWrapper::Impl::GetData() const {
  const std::string trainCache = SaveTrainCache(*trainCache_);
  return std::make_unique<Types::SmartClassifier::Data>(model_.Artifact(), trainCache);
}

Types::SmartClassifier::TrainingResult SmartClassifierWrapper::Impl::Train(
    const Types::SmartClassifier::Dataset& dataset, const ImageLoader& loader) {
  const std::string message = SerializeFilled<telvar_msg::qv::classification::Dataset>(
      [&](auto& filled) { FillDataset(dataset, filled); });
  auto [answer, artifact] = access_->Train(model_.Artifact(), message, trainingParameters_,
                                           AdaptImageLoader(loader), *trainCache_);
  const Answer<telvar_msg::qv::classification::TrainingResult> result(answer);
  model_.Update(std::move(artifact));
  return ConvertClassifierTelvarTrainingResults(*result);
}

Types::SmartClassifier::Result SmartClassifierWrapper::Impl::Process(
    const std::shared_ptr<Types::Image>& image) {
  return TryQvCallWithReturn([&] {
    if (model_.IsEmpty()) model_.Update(std::string());
    const Answer<telvar_msg::qv::classification::Result> result(
        access_->Process(model_, ConvertToImageView(image)));
    return ConvertClassifierTelvarResults(*result);
  });
}

Types::SmartClassifier::SamplesResult SmartClassifierWrapper::Impl::BatchProcess(
    const Types::CommonDataSet& dataset, const ImageLoader& loader) {
  const std::string message = SerializeCommonDataset(dataset);
  const std::string answer =
      access_->BatchProcess(model_.Artifact(), message, AdaptImageLoader(loader), *trainCache_);
  return ConvertClassifierTelvarProcessingResults(
      *Answer<telvar_msg::qv::classification::ProcessingResult>(answer));
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
