#include "segmenter/SmartSegmenterWrapperImpl.h"

#include <limits>
#include <utility>

#include "bridge/CommonDataset.h"
#include "bridge/Guard.h"
#include "bridge/ImageConversion.h"
#include "bridge/Messages.h"
#include "bridge/RegionConversion.h"
#include "bridge/TrainCache.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

using Types::SmartSegmenter::ProcessResult;
using Types::SmartSegmenter::ProcessResults;
using Types::SmartSegmenter::TrainingResult;

std::unique_ptr<telvar::qv::segmenter::TrainCache> CreateTrainCache() {
  return telvar::qv::segmenter::TrainCache::create(false,
                                                   std::numeric_limits<unsigned long long>::max());
}

std::string SerializeDefaultParameters() {
  return telvar_msg::qv::segmentation::TrainingParameters().SerializeAsString();
}

/// Collects the images of a batch in `results`, which must outlive the writer. Returns the image
/// identifier it was given. An entry is replaced as a whole, so that a failed allocation leaves the
/// one that was there.
ResultImageWriter MakeResultWriter(ProcessResults& results) {
  return [&results](telvar::types::Image&& image, const std::string& imageId,
                    const std::string& name) {
    const auto found = results.results.find(imageId);
    ProcessResult result = found == results.results.end() ? ProcessResult() : found->second;
    result.resultImages.insert_or_assign(name, ConvertImage(image));
    results.results.insert_or_assign(imageId, std::move(result));
    return imageId;
  };
}

}  // namespace

SmartSegmenterWrapper::Impl::Impl(std::unique_ptr<Types::SmartSegmenter::Data> data,
                                  std::shared_ptr<TelvarSegmenterAccess> access)
    : trainCache_(CreateTrainCache()),
      trainingParameters_(SerializeDefaultParameters()),
      access_(access ? std::move(access) : std::make_shared<TelvarSegmenterAccess>()),
      model_(std::move(data->artifact)) {
  RestoreTrainCache(trainCache_, data->trainCache, CreateTrainCache);
}

SmartSegmenterWrapper::Impl::~Impl() = default;

std::unique_ptr<Types::SmartSegmenter::Data> SmartSegmenterWrapper::Impl::GetData() const {
  const std::string trainCache = SaveTrainCache(*trainCache_);
  return std::make_unique<Types::SmartSegmenter::Data>(model_.Artifact(), trainCache);
}

TrainingResult SmartSegmenterWrapper::Impl::Train(const Types::SmartSegmenter::Dataset& dataset,
                                                  const ImageLoader& imageLoader,
                                                  const ImageLoader& maskLoader) {
  return TryQvCallWithReturn([&] {
    const std::string message = SerializeFilled<telvar_msg::qv::segmentation::Dataset>(
        [&](auto& filled) { FillDataset(dataset, filled); });
    const std::string parameters = SerializeDefaultParameters();
    auto [answer, artifact] =
        access_->train(model_.Artifact(), message, parameters, AdaptImageLoader(imageLoader),
                       AdaptImageLoader(maskLoader), *trainCache_, ResultImageWriter());
    model_.Update(std::move(artifact));
    TrainingResult result;
    result.score = Answer<telvar_msg::qv::segmentation::TrainingResult>(answer)->score();
    return result;
  });
}

ProcessResult SmartSegmenterWrapper::Impl::Process(const std::shared_ptr<Types::Image>& image,
                                                   const std::shared_ptr<Types::ROI>& roi) {
  if (model_.IsEmpty()) model_.Update(std::string());
  if (model_.IsEmpty()) return ProcessResult();  // as in the reader: cannot happen
  return TryQvCallWithReturn([&] {
    ProcessResult result;
    const EngineRegion region = ConvertToEngineRegion(roi);
    const telvar::types::ImageView view = ConvertToImageView(image);
    auto [answer, images] = access_->process(model_, view, region.transform, region.size);
    // It is parsed as every answer is, though nothing of it reaches the host.
    const Answer<telvar_msg::qv::segmentation::Result> unused(answer);
    for (auto& [name, resultImage] : images) {
      result.resultImages.insert_or_assign(name, ConvertImage(resultImage));
    }
    return result;
  });
}

ProcessResults SmartSegmenterWrapper::Impl::BatchProcess(const Types::CommonDataSet& dataset,
                                                         const ImageLoader& loader) {
  const std::string message = SerializeCommonDataset(dataset);
  const EngineImageLoader engineLoader = AdaptImageLoader(loader);
  ProcessResults results;
  access_->BatchProcess(model_.Artifact(), message, engineLoader, *trainCache_,
                        MakeResultWriter(results));
  return results;
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
