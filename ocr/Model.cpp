#include "ocr/Model.h"

#include <cmath>
#include <utility>

#include "bridge/Guard.h"
#include "telvar_msg/ocr_training.pb.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

/// Sizes that differ by less are one size: rounding on the host's side must not force a rebuild.
constexpr double kSizeTolerance = 0.0001;

/// The difference is taken in single precision, its size judged in double precision.
bool IsClose(float a, float b) {
  const float difference = a - b;
  return std::fabs(static_cast<double>(difference)) < kSizeTolerance;
}

}  // namespace

Model::Model(const Types::SmartOCR::Size& size, std::string&& artifact)
    : size_(size), artifact_(std::move(artifact)) {}

Model::~Model() = default;

void Model::Update(const Types::SmartOCR::Size& size, std::string&& artifact) {
  if (artifact.empty()) {
    if (IsEqual(size, size_) && !IsEmpty()) return;
  } else {
    artifact_ = std::move(artifact);
  }
  size_ = size;
  model_ = CreateModel(artifact_, size_);
}

std::unique_ptr<telvar::qv::ocr::Model> Model::CreateModel(const std::string& artifact,
                                                           const Types::SmartOCR::Size& size) {
  telvar_msg::qv::ocr::RuntimeParameters parameters;
  parameters.set_width(size.width);
  parameters.set_height(size.height);
  return TryQvCallWithReturn([&] {
    return std::make_unique<telvar::qv::ocr::Model>(artifact, parameters.SerializeAsString(),
                                                    telvar::types::CpuDevice());
  });
}

bool Model::IsEqual(const Types::SmartOCR::Size& a, const Types::SmartOCR::Size& b) {
  return IsClose(a.width, b.width) && IsClose(a.height, b.height);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
