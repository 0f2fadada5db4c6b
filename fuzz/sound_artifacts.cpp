#include "sound_artifacts.h"

#include "core/random.h"
#include "ocr/network/network.h"
#include "ocr/state.h"
#include "segmenter/network/network.h"
#include "segmenter/state.h"
#include "telvar/classifier.h"
#include "telvar_msg/classification.pb.h"

namespace telvar::fuzz {

std::string sound_ocr_artifact() {
  core::Random random({1});
  ocr::ReaderState state;
  state.size = {8, 12};
  state.generation = 1;
  ocr::Expert expert;
  expert.categories = {"0", "1", "O"};
  expert.spacing = ocr::Spacing(3);
  expert.spacing.learn({{0, 10, 10}, {1, 40, 10}, {2, 60, 12}});
  expert.net = ocr::make_network(3, random);
  ocr::PreparedSample exemplar;
  exemplar.width = 24;
  exemplar.height = 10;
  exemplar.pixels.assign(240, 100);
  exemplar.labels = {{1, 5, 5}};
  exemplar.unlabelled = {{0, 20, 5}};
  expert.exemplars = {exemplar};
  state.experts = {expert, expert};
  return write_state(state);
}

std::string sound_classifier_artifact() {
  namespace messages = telvar_msg::qv::classification;
  messages::Dataset dataset;
  for (const char* id : {"1", "2", "3", "4", "5", "6"}) {
    messages::Sample& sample = (*dataset.mutable_samples())[id];
    sample.set_image_id(id);
    sample.set_category_id(*id % 2 == 0 ? "even" : "odd");
    (*dataset.mutable_categories())[sample.category_id()];
  }
  messages::TrainingParameters parameters;
  parameters.set_training_setting(1);  // the least effort: about a second
  const auto loader = [](const std::string& id) {
    std::vector<unsigned char> pixels(16 * 16);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      pixels[i] = static_cast<unsigned char>((id[0] * i * 37 + i * i) % 251);
    }
    return types::Image(16, 16, 16, 1, 8, 0, pixels.data());
  };
  const auto cache = qv::classifier::TrainCache::create(false);
  return std::get<1>(qv::classifier::train("", dataset.SerializeAsString(),
                                           parameters.SerializeAsString(), loader, *cache));
}

std::string sound_segmenter_artifact() {
  segmenter::SegmenterState state;
  state.categories = {"crack", "pore"};
  state.net = segmenter::make_initial_net(state.input.planes(), 2, 3);
  core::Raster raster(20, 12, 1);
  core::Mask mask(20, 12);
  mask.values[5] = 1;
  state.exemplars = {segmenter::make_tile(raster, 1, {mask, core::Mask()}, 3)};
  return write_state(state);
}

}  // namespace telvar::fuzz
