#include "telvar_msg/classification.pb.h"
#include "telvar_msg/ocr_fielding.pb.h"
#include "telvar_msg/ocr_result.pb.h"
#include "telvar_msg/ocr_training.pb.h"
#include "tools.h"

namespace faults {
namespace {

std::string OcrSample() {
  telvar_msg::qv::ocr::SampleResult sample;
  for (int i = 0; i < 6; ++i) {
    auto& character = *sample.add_characters();
    for (const std::string& category : {kId, kOtherId}) {
      auto& score = *character.add_category_scores();
      score.set_category_id(category);
      score.set_score(0.5f);
    }
  }
  for (int i = 0; i < 2; ++i) {
    auto& line = *sample.add_lines();
    line.set_text(kId);
    for (int j = 0; j < 3; ++j) line.add_indexes(3 * i + j);
  }
  return sample.SerializeAsString();
}

}  // namespace

void SetScript() {
  engine::reset();
  engine::Script& script = engine::script();
  script.recording = false;
  script.new_artifact = kNewArtifact;
  script.cache_update = kNewCache.substr(kCache.size());
  script.ask_images = script.ask_masks = {kId, kOtherId};
  script.sorted = {{0, 1, 2}, {3, 4}};

  const std::string sample = OcrSample();
  telvar_msg::qv::ocr::Result read;
  read.mutable_sample()->ParseFromString(sample);
  script.answers["ocr.process"] = read.SerializeAsString();
  telvar_msg::qv::ocr::FieldingResult verdict;
  verdict.set_matched(true);
  verdict.set_pattern_name(kOtherId);
  script.fielded = {sample, verdict.SerializeAsString()};

  telvar_msg::qv::classification::Result classified;
  telvar_msg::qv::classification::SampleResult& scores = *classified.mutable_sample();
  scores.add_scores()->set_category_id(kId);
  scores.add_scores()->set_category_id(kOtherId);
  script.answers["classifier.process"] = classified.SerializeAsString();

  for (const std::string& name : {kId, kOtherId}) {
    const std::vector<unsigned char> pixels(8, 255);
    const telvar::types::Image image(4, 2, 4, 1, 8, 0, pixels.data());
    script.result_images[name] = image;
    script.write.push_back({image, kId, name});
  }

  telvar_msg::qv::ocr::TrainingResult trained;
  (*trained.mutable_labeled_sample_results())[kId].add_character_label_confidence(0.5f);
  script.answers["ocr.train"] = trained.SerializeAsString();
  telvar_msg::qv::classification::TrainingResult learned;
  (*learned.mutable_samples())[kId] = scores;
  script.answers["classifier.train"] = learned.SerializeAsString();
  telvar_msg::qv::classification::ProcessingResult batch;
  (*batch.mutable_samples())[kId] = scores;
  script.answers["classifier.batch"] = batch.SerializeAsString();
}

}  // namespace faults
