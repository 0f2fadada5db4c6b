#include "core/library_threads.h"
#include "core/refusals.h"
#include "segmenter/dataset.h"
#include "segmenter/limits.h"
#include "segmenter/segmenter.h"
#include "telvar/segmenter.h"

namespace telvar::qv::segmenter {

namespace engine = telvar::segmenter;

class Model::Impl {
 public:
  Impl(const std::string& artifact, const types::Device& device)
      : segmenter(artifact, core::threads_of(device)) {}

  engine::Segmenter segmenter;
};

Model::Model(const std::string& artifact, const std::string& runtime_parameters,
             const types::Device& device) {
  const core::LibraryThreadScope scope;
  if (!runtime_parameters.empty()) {
    throw core::no_parameters_known("segmenter", runtime_parameters);
  }
  impl_ = std::make_unique<Impl>(artifact, device);
}

Model::~Model() = default;

std::tuple<std::string, std::map<std::string, types::Image>> Model::process(
    const types::ImageView& image, const types::AffineTransform& transform,
    const types::Size2<unsigned>& size) const {
  const core::LibraryThreadScope scope;
  core::check_image(image, "image", engine::kImageLimits);
  const auto region = core::resolve_region(image, transform, size, "image", engine::kImageLimits);
  return std::make_tuple(engine::write_result(), impl_->segmenter.segment(image, region));
}

}  // namespace telvar::qv::segmenter
