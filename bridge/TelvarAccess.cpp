#include "bridge/TelvarAccess.h"

#include "bridge/Guard.h"

namespace Orbalt::TelvarWrapper::Wrapper {

TelvarAccess::~TelvarAccess() = default;

std::string TelvarAccess::Process(const telvar::qv::ocr::Model& model,
                                  const telvar::types::ImageView& view,
                                  const telvar::types::AffineTransform& transform,
                                  const telvar::types::Size2<unsigned>& size) const {
  return model.process(view, transform, size);
}

std::tuple<std::string, std::string> TelvarAccess::Train(const std::string& artifact,
                                                         const std::string& dataset,
                                                         const std::string& parameters,
                                                         const EngineImageLoader& loader,
                                                         telvar::qv::ocr::TrainCache& cache) const {
  return TryQvCallWithReturn(
      [&] { return telvar::qv::ocr::train(artifact, dataset, parameters, loader, cache); });
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
