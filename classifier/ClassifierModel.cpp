#include "classifier/ClassifierModel.h"

#include <utility>

#include "bridge/Guard.h"

namespace Orbalt::TelvarWrapper::Wrapper {

ClassifierModel::ClassifierModel(std::string&& artifact) : artifact_(std::move(artifact)) {}

ClassifierModel::~ClassifierModel() = default;

void ClassifierModel::Update(std::string&& artifact) {
  if (!artifact.empty()) {
    artifact_ = std::move(artifact);
  } else if (!IsEmpty()) {
    return;
  }
  engineModel_ = CreateClassifierModel(artifact_);
}

std::unique_ptr<telvar::qv::classifier::Model> ClassifierModel::CreateClassifierModel(
    const std::string& artifact) {
  return TryQvCallWithReturn([&] {
    return std::make_unique<telvar::qv::classifier::Model>(artifact, std::string(),
                                                           telvar::types::CpuDevice());
  });
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
