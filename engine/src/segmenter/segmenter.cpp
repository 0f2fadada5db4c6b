#include "segmenter/segmenter.h"

namespace telvar::segmenter {

Segmenter::Segmenter(SegmenterState state, unsigned threads)
    : pool_(threads),
      categories_(std::move(state.categories)),
      predictor_(state.net, state.input),
      context_(state.context, state.input) {}

std::map<std::string, types::Image> Segmenter::segment(const types::ImageView& image,
                                                       const core::Region& region) const {
  auto images = predict_region(predictor_, context_, image, region, pool_);
  std::map<std::string, types::Image> named;
  for (std::size_t i = 0; i < images.size(); ++i) {
    named.emplace(categories_[i], std::move(images[i]));
  }
  return named;
}

}  // namespace telvar::segmenter
