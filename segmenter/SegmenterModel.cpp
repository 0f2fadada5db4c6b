#include "segmenter/SegmenterModel.h"

#include <utility>

#include "bridge/Guard.h"

namespace Orbalt::TelvarWrapper::Wrapper {

SegmenterModel::SegmenterModel(std::string&& artifact) : artifact_(std::move(artifact)) {}

SegmenterModel::~SegmenterModel() = default;

void SegmenterModel::Update(std::string&& artifact) {
  if (!artifact.empty()) {
    artifact_ = std::move(artifact);
  } else if (!IsEmpty()) {
    return;
  }
  model_ = CreateSegmenterModel(artifact_);
}

std::unique_ptr<telvar::qv::segmenter::Model> SegmenterModel::CreateSegmenterModel(
    const std::string& artifact) {
  return TryQvCallWithReturn([&] {
    return std::make_unique<telvar::qv::segmenter::Model>(artifact, std::string(),
                                                          telvar::types::CpuDevice());
  });
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
