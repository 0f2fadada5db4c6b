#include "bridge/TelvarSegmenterAccess.h"

#include "bridge/Guard.h"

namespace Orbalt::TelvarWrapper::Wrapper {

TelvarSegmenterAccess::~TelvarSegmenterAccess() = default;

std::tuple<std::string, std::map<std::string, telvar::types::Image>> TelvarSegmenterAccess::process(
    const telvar::qv::segmenter::Model& model, const telvar::types::ImageView& view,
    const telvar::types::AffineTransform& transform,
    const telvar::types::Size2<unsigned>& size) const {
  return model.process(view, transform, size);
}

std::tuple<std::string, std::string> TelvarSegmenterAccess::train(
    const std::string& artifact, const std::string& dataset, const std::string& parameters,
    const EngineImageLoader& loader, const EngineImageLoader& maskLoader,
    telvar::qv::segmenter::TrainCache& cache, const ResultImageWriter& writer) {
  return telvar::qv::segmenter::train(artifact, dataset, parameters, loader, maskLoader, cache,
                                      writer);
}

std::string TelvarSegmenterAccess::BatchProcess(const std::string& artifact,
                                                const std::string& dataset,
                                                const EngineImageLoader& loader,
                                                telvar::qv::segmenter::TrainCache& cache,
                                                const ResultImageWriter& writer) const {
  // The engine takes the writer before the cache.
  return TryQvCallWithReturn(
      [&] { return telvar::qv::segmenter::process(artifact, dataset, loader, writer, cache); });
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
