// Reader artifacts: refused, or good enough to read with.
#include "artifact_target.h"
#include "sound_artifacts.h"
#include "telvar/ocr.h"
#include "telvar_msg/ocr_result.pb.h"
#include "telvar_msg/ocr_training.pb.h"

using namespace telvar::fuzz;

namespace {

std::string runtime_size() {
  telvar_msg::qv::ocr::RuntimeParameters size;
  size.set_width(8);
  size.set_height(12);
  return size.SerializeAsString();
}

void check_reading(const telvar::qv::ocr::Model& model) {
  static const telvar::types::Image image = probe_image();
  telvar_msg::qv::ocr::Result result;
  require(result.ParseFromString(
              model.process(telvar::types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0})),
          "the result parses");
  for (const auto& line : result.sample().lines()) {
    for (const int index : line.indexes()) {
      require(index >= 0 && index < result.sample().characters_size(), "indexes are in range");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string sound = sound_ocr_artifact();
  Input input(data, size);
  try_artifact<telvar::qv::ocr::Model>(artifact_of(sound, telvar::core::Tool::kOcr, input),
                                       runtime_size(), check_reading);
  return 0;
}
