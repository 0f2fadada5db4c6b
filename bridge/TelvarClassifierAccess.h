#pragma once

#include <string>
#include <tuple>

#include "bridge/Callbacks.h"
#include "telvar/classifier.h"
#include "telvar/image.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// How the classifier reaches the engine; another object can stand in for it. Stateless, safe to
/// share. The order of the virtual functions is fixed.
class TelvarClassifierAccess {
 public:
  virtual ~TelvarClassifierAccess();

  /// `model.process` over the whole image, unguarded: call it inside a guard. Returns a serialised
  /// Result.
  virtual std::string Process(const telvar::qv::classifier::Model& model,
                              const telvar::types::ImageView& view) const;

  /// The engine's `train`, guarded. Returns a serialised TrainingResult and the new artifact.
  virtual std::tuple<std::string, std::string> Train(
      const std::string& artifact, const std::string& dataset, const std::string& parameters,
      const EngineImageLoader& loader, telvar::qv::classifier::TrainCache& cache) const;

  /// The engine's batch `process`, guarded. Returns a serialised ProcessingResult.
  virtual std::string BatchProcess(const std::string& artifact, const std::string& dataset,
                                   const EngineImageLoader& loader,
                                   telvar::qv::classifier::TrainCache& cache) const;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
