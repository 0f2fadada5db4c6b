#include <chrono>

#include "core/artifact.h"
#include "core/library_threads.h"
#include "core/messages.h"
#include "core/worker_pool.h"
#include "ocr/experts/expert_inference.h"
#include "ocr/limits.h"
#include "ocr/result.h"
#include "ocr/state.h"
#include "telvar/ocr.h"
#include "telvar_msg/ocr_training.pb.h"

namespace telvar::qv::ocr {
namespace {

namespace reader = telvar::ocr;

constexpr char kSubject[] = "image";

reader::NominalSize runtime_size(const std::string& message) {
  const core::ParsedMessage<telvar_msg::qv::ocr::RuntimeParameters> parameters(
      message, "OCR runtime parameters");
  const reader::NominalSize size{parameters->width(), parameters->height()};
  reader::check_nominal_size(size, "runtime size");
  return size;
}

}  // namespace

class Model::Impl {
 public:
  Impl(const reader::ReaderState& state, const reader::NominalSize& size, unsigned threads)
      : size_(size), categories_(state.categories()), pool_(threads) {
    for (const reader::Expert& expert : state.experts) experts_.emplace_back(expert, categories_);
  }

  std::string process(const types::ImageView& image, const types::AffineTransform& transform,
                      const types::Size2<unsigned>& size) const {
    const auto start = std::chrono::steady_clock::now();
    core::check_image(image, kSubject, reader::kImageLimits);
    const core::Region region =
        core::resolve_region(image, transform, size, kSubject, reader::kImageLimits);
    const reader::GraySource source = reader::source_of(image, region, size_, kSubject);
    auto found = reader::recognise_best(experts_, source, pool_);
    for (reader::FoundCharacter& character : found) {
      character.x = static_cast<float>((character.x + 0.5) * region.width / source.width - 0.5);
      character.y = static_cast<float>((character.y + 0.5) * region.height / source.height - 0.5);
    }
    return reader::write_result(std::move(found), categories_, size_,
                                std::chrono::steady_clock::now() - start);
  }

 private:
  reader::NominalSize size_;
  std::vector<std::string> categories_;
  std::vector<reader::ExpertInference> experts_;
  mutable core::WorkerPool pool_;  // may be used from several threads at once
};

Model::Model(const std::string& artifact, const std::string& runtime_parameters,
             const types::Device& device) {
  const core::LibraryThreadScope scope;
  impl_ = std::make_unique<Impl>(reader::read_state(artifact), runtime_size(runtime_parameters),
                                 core::threads_of(device));
}

Model::~Model() = default;

std::string Model::process(const types::ImageView& image, const types::AffineTransform& transform,
                           const types::Size2<unsigned>& size) const {
  const core::LibraryThreadScope scope;
  return impl_->process(image, transform, size);
}

}  // namespace telvar::qv::ocr
