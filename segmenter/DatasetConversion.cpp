#include "bridge/RegionConversion.h"
#include "segmenter/SmartSegmenterWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

/// Sets `message`, whatever it held: of two samples with one identifier the later stays.
void ConvertSample(const Types::SmartSegmenter::Sample& sample,
                   telvar_msg::qv::segmentation::Sample& message) {
  message.Clear();
  message.set_image_id(sample.imageId);
  for (const auto& [category, maskId] : sample.categoryMasks) {
    (*message.mutable_category_masks())[category] = maskId;
  }
  if (sample.roi) FillRegion(*sample.roi, *message.mutable_region_of_interest());
}

}  // namespace

telvar_msg::qv::segmentation::Dataset SmartSegmenterWrapper::Impl::ConvertSegmenterDataset(
    const Types::SmartSegmenter::Dataset& dataset) {
  telvar_msg::qv::segmentation::Dataset message;
  FillDataset(dataset, message);
  return message;
}

void SmartSegmenterWrapper::Impl::FillDataset(const Types::SmartSegmenter::Dataset& dataset,
                                              telvar_msg::qv::segmentation::Dataset& message) {
  for (const std::string& category : dataset.categories) {
    (*message.mutable_categories())[category];
  }
  for (const Types::SmartSegmenter::Sample& sample : dataset.samples) {
    ConvertSample(sample, (*message.mutable_samples())[sample.imageId]);
  }
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
