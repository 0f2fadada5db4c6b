#pragma once

#include <memory>
#include <string>

#include "telvar/segmenter.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// The trained artifact of a segmenter, and the engine model for it, built when first updated. Not
/// to be used from two threads at once.
class SegmenterModel {
 public:
  /// Builds nothing yet.
  explicit SegmenterModel(std::string&& artifact);
  ~SegmenterModel();

  const std::string& Artifact() const { return artifact_; }

  /// Whether no engine model has been built, whatever the artifact.
  bool IsEmpty() const { return model_ == nullptr; }

  /// The engine model. Requires !IsEmpty().
  operator telvar::qv::segmenter::Model&() const { return *model_; }

  /// Installs a non-empty `artifact` and builds its engine model; an empty one only builds a model
  /// when there is none yet.
  /// Throws what the guard makes of the engine's refusal; the artifact is then the new one and the
  /// previous engine model stays.
  void Update(std::string&& artifact);

 private:
  static std::unique_ptr<telvar::qv::segmenter::Model> CreateSegmenterModel(
      const std::string& artifact);

  std::string artifact_;
  std::unique_ptr<telvar::qv::segmenter::Model> model_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
