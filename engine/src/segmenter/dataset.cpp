#include "segmenter/dataset.h"

#include <algorithm>

#include "core/messages.h"
#include "core/refusals.h"
#include "segmenter/limits.h"
#include "telvar/exceptions.h"
#include "telvar_msg/common.pb.h"
#include "telvar_msg/segmentation.pb.h"

namespace telvar::segmenter {
namespace {

namespace msg = telvar_msg::qv::segmentation;

void check_category(const std::string& name) {
  if (name.empty()) throw types::invalid_dataset("dataset: a category without a name");
  if (name.size() > kMaxNameBytes) {
    throw core::too_many("category '" + name.substr(0, 32) + "...'", name.size(), "bytes",
                         kMaxNameBytes);
  }
}

void check_counts(const msg::Dataset& dataset, int min_samples) {
  const auto categories = static_cast<int>(dataset.categories().size());
  if (categories == 0) throw types::invalid_dataset("dataset: no categories; 1 is needed");
  if (categories > kMaxCategories) {
    throw core::too_many("the data set", dataset.categories().size(), "categories", kMaxCategories);
  }
  const auto samples = static_cast<int>(dataset.samples().size());
  if (samples < min_samples) {
    throw types::insufficient_number_of_samples("dataset: " + std::to_string(samples) +
                                                " samples; at least " +
                                                std::to_string(min_samples) + " are needed");
  }
  if (samples > kMaxSamples) {
    throw core::too_many("the data set", dataset.samples().size(), "samples", kMaxSamples);
  }
}

RegionRequest to_region(const telvar_msg::types::RegionOfInterest& region) {
  const auto& transform = region.affine_transform();
  return {{transform.m00(), transform.m01(), transform.tx(), transform.m10(), transform.m11(),
           transform.ty()},
          {region.width(), region.height()}};
}

SampleRequest to_sample(const std::string& key, const msg::Sample& sample,
                        const std::vector<std::string>& categories) {
  SampleRequest request;
  request.name = "sample '" + key + "'";
  request.image_id = sample.image_id();
  if (sample.has_region_of_interest()) request.region = to_region(sample.region_of_interest());
  for (const auto& [category, mask] : sample.category_masks()) {
    if (!std::binary_search(categories.begin(), categories.end(), category)) {
      throw types::invalid_dataset(request.name + ": a mask of category '" + category +
                                   "', which the dataset does not list");
    }
    request.masks.emplace(category, mask);
  }
  return request;
}

}  // namespace

TrainingRequest parse_training_dataset(const std::string& dataset, int min_samples) {
  const core::ParsedMessage<msg::Dataset> message(dataset, "training dataset");
  check_counts(*message, min_samples);
  TrainingRequest request;
  for (const auto& [name, category] : message->categories()) {
    check_category(name);
    request.categories.push_back(name);
  }
  std::sort(request.categories.begin(), request.categories.end());
  // A message map has no order of its own; results must not depend on it.
  std::map<std::string, const msg::Sample*> by_key;
  for (const auto& [key, sample] : message->samples()) by_key.emplace(key, &sample);
  for (const auto& [key, sample] : by_key) {
    request.samples.push_back(to_sample(key, *sample, request.categories));
  }
  return request;
}

std::vector<SampleRequest> parse_batch_dataset(const std::string& dataset) {
  const core::ParsedMessage<telvar_msg::common::Dataset> message(dataset, "batch dataset");
  std::map<std::string, std::string> by_key;
  for (const auto& [key, sample] : message->samples()) by_key.emplace(key, sample.image_id());
  std::vector<SampleRequest> samples;
  samples.reserve(by_key.size());
  for (const auto& [key, image_id] : by_key) {
    samples.push_back({"sample '" + key + "'", image_id, {}, {}});
  }
  return samples;
}

void check_training_parameters(const std::string& parameters) {
  const core::ParsedMessage<msg::TrainingParameters> none_known(parameters, "training parameters");
}

std::string write_training_result(float score) {
  msg::TrainingResult result;
  result.set_score(score);
  return core::serialised(result, "training a segmenter");
}

std::string write_result() {
  return core::serialised(msg::Result(), "segmenting");
}

}  // namespace telvar::segmenter
