#include "segmenter/segmenter.h"

#include "core/library_threads.h"
#include "segmenter/predictor.h"

namespace telvar::segmenter {

Segmenter::Segmenter(const std::string& artifact, unsigned threads)
    : pool_(threads), state_(read_model(artifact)) {
  const core::LibraryThreadScope scope;
  state_.exemplars.clear();
  prepare_for_prediction(*state_.net);
}

std::map<std::string, types::Image> Segmenter::segment(const types::ImageView& image,
                                                       const core::Region& region) const {
  const core::LibraryThreadScope scope;
  auto images = predict_region(*state_.net, state_.input, image, region, pool_);
  std::map<std::string, types::Image> named;
  for (std::size_t i = 0; i < images.size(); ++i) {
    named.emplace(state_.categories[i], std::move(images[i]));
  }
  return named;
}

}  // namespace telvar::segmenter
