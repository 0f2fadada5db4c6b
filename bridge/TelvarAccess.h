#pragma once

#include <string>
#include <tuple>

#include "bridge/Callbacks.h"
#include "telvar/image.h"
#include "telvar/ocr.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// How the character reader reaches the engine; another object can stand in for it. Stateless, safe
/// to share. The order of the virtual functions is fixed.
class TelvarAccess {
 public:
  virtual ~TelvarAccess();

  /// `model.process`, unguarded: call it inside a guard. Returns a serialised Result.
  virtual std::string Process(const telvar::qv::ocr::Model& model,
                              const telvar::types::ImageView& view,
                              const telvar::types::AffineTransform& transform,
                              const telvar::types::Size2<unsigned>& size) const;

  /// The engine's `train`, guarded. Returns a serialised TrainingResult and the new artifact.
  virtual std::tuple<std::string, std::string> Train(const std::string& artifact,
                                                     const std::string& dataset,
                                                     const std::string& parameters,
                                                     const EngineImageLoader& loader,
                                                     telvar::qv::ocr::TrainCache& cache) const;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
