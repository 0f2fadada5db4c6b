#include "bridge/RegionConversion.h"
#include "segmenter/SmartSegmenterWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

telvar_msg::qv::segmentation::Sample ConvertSample(const Types::SmartSegmenter::Sample& sample) {
  telvar_msg::qv::segmentation::Sample message;
  message.set_image_id(sample.imageId);
  for (const auto& [category, maskId] : sample.categoryMasks) {
    (*message.mutable_category_masks())[category] = maskId;
  }
  if (sample.roi) *message.mutable_region_of_interest() = ConvertROI(sample.roi);
  return message;
}

}  // namespace

telvar_msg::qv::segmentation::Dataset SmartSegmenterWrapper::Impl::ConvertSegmenterDataset(
    const Types::SmartSegmenter::Dataset& dataset) {
  telvar_msg::qv::segmentation::Dataset message;
  for (const std::string& category : dataset.categories) {
    message.mutable_categories()->insert({category, {}});
  }
  for (const Types::SmartSegmenter::Sample& sample : dataset.samples) {
    (*message.mutable_samples())[sample.imageId] = ConvertSample(sample);
  }
  return message;
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
