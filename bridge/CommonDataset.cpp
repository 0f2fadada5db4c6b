#include "bridge/CommonDataset.h"

#include "bridge/Messages.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

void AddSamples(telvar_msg::common::Dataset& message, const Types::CommonDataSet& dataset) {
  for (const auto& entry : dataset.samples) AddCommonSample(message, entry);
}

}  // namespace

void AddCommonSample(telvar_msg::common::Dataset& dataset,
                     std::pair<std::string, Types::CommonSample> entry) {
  telvar_msg::common::Sample& sample = (*dataset.mutable_samples())[entry.first];
  sample.Clear();
  sample.set_image_id(std::move(entry.second.imageId));
}

telvar_msg::common::Dataset ConvertCommonDataset(const Types::CommonDataSet& dataset) {
  telvar_msg::common::Dataset message;
  AddSamples(message, dataset);
  return message;
}

std::string SerializeCommonDataset(const Types::CommonDataSet& dataset) {
  return SerializeFilled<telvar_msg::common::Dataset>(
      [&](auto& message) { AddSamples(message, dataset); });
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
