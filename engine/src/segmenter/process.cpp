#include "core/exception_translation.h"
#include "segmenter/dataset.h"
#include "segmenter/prepare.h"
#include "segmenter/segmenter.h"
#include "telvar/segmenter.h"

namespace telvar::qv::segmenter {

namespace engine = telvar::segmenter;

std::string process(const std::string& artifact, const std::string& dataset,
                    const types::ImageLoader& loader, const types::ResultImageWriter& writer,
                    TrainCache&) {
  return core::translated("segmenting a batch", [&] {
    const engine::Segmenter segmenter(artifact, 0);
    const types::ImageLoader load = core::passing(loader);
    const types::ResultImageWriter write = core::passing(writer);
    for (const engine::SampleRequest& request : engine::parse_batch_dataset(dataset)) {
      const engine::LoadedImage loaded = engine::load_image(request, load);
      auto images = segmenter.segment(types::ImageView(loaded.image), loaded.region);
      for (auto& [category, image] : images) {
        write(std::move(image), request.image_id, category);
      }
    }
    return engine::write_result();
  });
}

}  // namespace telvar::qv::segmenter
