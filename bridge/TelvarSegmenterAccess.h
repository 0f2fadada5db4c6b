#pragma once

#include <map>
#include <string>
#include <tuple>

#include "bridge/Callbacks.h"
#include "telvar/image.h"
#include "telvar/segmenter.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// How the segmenter reaches the engine; another object can stand in for it. Stateless, safe to
/// share. The order of the virtual functions is fixed, and so are the two lower-case names and the
/// missing const of `train`: they are part of this virtual interface.
class TelvarSegmenterAccess {
 public:
  virtual ~TelvarSegmenterAccess();

  /// `model.process`, unguarded: call it inside a guard. Returns a serialised Result and the result
  /// images by name.
  virtual std::tuple<std::string, std::map<std::string, telvar::types::Image>> process(
      const telvar::qv::segmenter::Model& model, const telvar::types::ImageView& view,
      const telvar::types::AffineTransform& transform,
      const telvar::types::Size2<unsigned>& size) const;

  /// The engine's `train`, unguarded: call it inside a guard. Returns a serialised TrainingResult
  /// and the new artifact.
  virtual std::tuple<std::string, std::string> train(
      const std::string& artifact, const std::string& dataset, const std::string& parameters,
      const EngineImageLoader& loader, const EngineImageLoader& maskLoader,
      telvar::qv::segmenter::TrainCache& cache, const ResultImageWriter& writer);

  /// The engine's batch `process`, guarded. Result images go to `writer`; returns what the engine
  /// returns.
  virtual std::string BatchProcess(const std::string& artifact, const std::string& dataset,
                                   const EngineImageLoader& loader,
                                   telvar::qv::segmenter::TrainCache& cache,
                                   const ResultImageWriter& writer) const;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
