#pragma once

// A trained segmenter: everything that its artifact holds. docs/segmenter-artifact.md has the
// bytes.

#include <string>
#include <vector>

#include "nn/network.h"
#include "segmenter/input_planes.h"
#include "segmenter/training_tile.h"

namespace telvar::segmenter {

struct ModelState {
  std::vector<std::string> categories;  // ascending; also the order of the network's outputs
  InputSpec input;
  nn::Network net;
  std::vector<TrainingTile> exemplars;  // what later trainings remember this one by
};

std::string write_model(const ModelState& model);

/// Throws invalid_training_artifact, training_artifact_tool_type_error,
/// training_artifact_unsupported_version.
ModelState read_model(const std::string& artifact);

}  // namespace telvar::segmenter
