#include "bridge/TelvarClassifierAccess.h"

#include "bridge/Guard.h"

namespace Orbalt::TelvarWrapper::Wrapper {

TelvarClassifierAccess::~TelvarClassifierAccess() = default;

std::string TelvarClassifierAccess::Process(const telvar::qv::classifier::Model& model,
                                            const telvar::types::ImageView& view) const {
  return model.process(view, telvar::types::AffineTransform(1, 0, 0, 0, 1, 0),
                       telvar::types::Size2<unsigned>(0, 0));
}

std::tuple<std::string, std::string> TelvarClassifierAccess::Train(
    const std::string& artifact, const std::string& dataset, const std::string& parameters,
    const EngineImageLoader& loader, telvar::qv::classifier::TrainCache& cache) const {
  return TryQvCallWithReturn(
      [&] { return telvar::qv::classifier::train(artifact, dataset, parameters, loader, cache); });
}

std::string TelvarClassifierAccess::BatchProcess(const std::string& artifact,
                                                 const std::string& dataset,
                                                 const EngineImageLoader& loader,
                                                 telvar::qv::classifier::TrainCache& cache) const {
  return TryQvCallWithReturn(
      [&] { return telvar::qv::classifier::process(artifact, dataset, loader, cache); });
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
