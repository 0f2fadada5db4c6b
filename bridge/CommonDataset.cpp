#include "bridge/CommonDataset.h"

namespace Orbalt::TelvarWrapper::Wrapper {

void AddCommonSample(telvar_msg::common::Dataset& dataset,
                     std::pair<std::string, Types::CommonSample> entry) {
  telvar_msg::common::Sample sample;
  sample.set_image_id(std::move(entry.second.imageId));
  (*dataset.mutable_samples())[entry.first] = std::move(sample);
}

telvar_msg::common::Dataset ConvertCommonDataset(const Types::CommonDataSet& dataset) {
  telvar_msg::common::Dataset message;
  for (const auto& entry : dataset.samples) AddCommonSample(message, entry);
  return message;
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
