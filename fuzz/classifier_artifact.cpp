// Classifier artifacts: refused, or good enough to score with.
#include "artifact_target.h"
#include "sound_artifacts.h"
#include "telvar/classifier.h"
#include "telvar_msg/classification.pb.h"

using namespace telvar::fuzz;

namespace {

void check_scoring(const telvar::qv::classifier::Model& model) {
  static const telvar::types::Image image = probe_image();
  telvar_msg::qv::classification::Result result;
  require(result.ParseFromString(
              model.process(telvar::types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0})),
          "the result parses");
  require(result.sample().scores_size() >= 2, "every category has a score");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string sound = sound_classifier_artifact();
  Input input(data, size);
  try_artifact<telvar::qv::classifier::Model>(
      artifact_of(sound, telvar::core::Tool::kClassifier, input), "", check_scoring);
  return 0;
}
