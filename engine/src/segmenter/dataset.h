#pragma once

// The data sets as hosts describe them, parsed and checked before any image is loaded.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "telvar/image.h"

namespace telvar::segmenter {

/// Where a sample lies in its image.
struct RegionRequest {
  types::AffineTransform transform{1, 0, 0, 0, 1, 0};
  types::Size2<unsigned> size{0, 0};
};

struct SampleRequest {
  std::string name;  // for messages: "sample 'key'"
  std::string image_id;
  RegionRequest region;
  std::map<std::string, std::string> masks;  // category to mask identifier
};

struct TrainingRequest {
  std::vector<std::string> categories;  // ascending
  std::vector<SampleRequest> samples;   // by ascending key
};

/// Parses a telvar_msg segmentation Dataset.
/// Throws invalid_message; invalid_dataset (no category, too many, a name that is empty or too
/// long, a mask of an unlisted category); insufficient_number_of_samples.
TrainingRequest parse_training_dataset(const std::string& dataset, int min_samples);

/// Parses a telvar_msg common Dataset: the image identifiers by ascending sample key.
/// Throws invalid_message.
std::vector<SampleRequest> parse_batch_dataset(const std::string& dataset);

/// Throws invalid_message unless `parameters` is a TrainingParameters message.
void check_training_parameters(const std::string& parameters);

/// A serialised TrainingResult.
std::string write_training_result(float score);

/// A serialised, empty Result.
std::string write_result();

}  // namespace telvar::segmenter
