#pragma once

#include <memory>
#include <string>

#include "TelvarTypes/SmartOCR.h"
#include "telvar/ocr.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// The trained artifact of a character reader, and the engine model for it at one size. The engine
/// model is built when first updated and always belongs to the held artifact and size, unless
/// building it failed. Not to be used from two threads at once.
class Model {
 public:
  /// Builds nothing yet.
  Model(const Types::SmartOCR::Size& size, std::string&& artifact);
  ~Model();

  const std::string& Artifact() const { return artifact_; }

  /// Whether no engine model has been built, whatever the artifact.
  bool IsEmpty() const { return model_ == nullptr; }

  /// The engine model. Requires !IsEmpty().
  operator telvar::qv::ocr::Model&() { return *model_; }

  /// Brings the engine model up to date: a non-empty `artifact` is installed and always rebuilds,
  /// an empty one rebuilds only for another size or when there is no model yet.
  /// Throws what the guard makes of the engine's refusal; artifact and size are then the new ones
  /// and the previous engine model stays.
  void Update(const Types::SmartOCR::Size& size, std::string&& artifact);

  static std::unique_ptr<telvar::qv::ocr::Model> CreateModel(const std::string& artifact,
                                                             const Types::SmartOCR::Size& size);

 private:
  static bool IsEqual(const Types::SmartOCR::Size& a, const Types::SmartOCR::Size& b);

  Types::SmartOCR::Size size_;
  std::string artifact_;
  std::unique_ptr<telvar::qv::ocr::Model> model_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
