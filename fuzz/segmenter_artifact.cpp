// Segmenter artifacts: refused, or good enough to segment with.
#include "artifact_target.h"
#include "sound_artifacts.h"
#include "telvar/segmenter.h"

using namespace telvar::fuzz;

namespace {

void check_segmenting(const telvar::qv::segmenter::Model& model) {
  static const telvar::types::Image image = probe_image();
  const auto [result, images] =
      model.process(telvar::types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0});
  require(!images.empty(), "every category has an image");
  for (const auto& [category, scores] : images) {
    require(scores.layout[0] == 40 && scores.layout[1] == 24, "it has the region's size");
    require(scores.pixels.size() >= 40 * 24, "it has pixels");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string sound = sound_segmenter_artifact();
  Input input(data, size);
  try_artifact<telvar::qv::segmenter::Model>(
      artifact_of(sound, telvar::core::Tool::kSegmenter, input), "", check_segmenting);
  return 0;
}
