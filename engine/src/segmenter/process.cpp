#include "core/library_threads.h"
#include "core/monitor.h"
#include "segmenter/dataset.h"
#include "segmenter/preparation.h"
#include "segmenter/segmenter.h"
#include "telvar/segmenter.h"

namespace telvar::qv::segmenter {

namespace engine = telvar::segmenter;

std::string process(const std::string& artifact, const std::string& dataset,
                    const types::ImageLoader& host_loader,
                    const types::ResultImageWriter& host_writer, TrainCache&) {
  core::LibraryThreadScope scope;
  const types::ImageLoader loader = scope.in_host_mode(host_loader);
  const types::ResultImageWriter writer = scope.in_host_mode(host_writer);
  const core::Monitor monitor(host_loader, scope);
  const engine::Segmenter segmenter(artifact, monitor.threads());
  for (const engine::SampleRequest& request : engine::parse_batch_dataset(dataset)) {
    const engine::LoadedImage loaded = engine::load_image(request, loader);
    auto images = segmenter.segment(types::ImageView(loaded.image), loaded.region);
    for (auto& [category, image] : images) {
      writer(std::move(image), request.image_id, category);
    }
  }
  return engine::write_result();
}

}  // namespace telvar::qv::segmenter
