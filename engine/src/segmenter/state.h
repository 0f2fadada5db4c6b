#pragma once

// A trained segmenter: everything that its artifact holds. docs/segmenter-artifact.md has the
// bytes.

#include <string>
#include <vector>

#include "nn/network.h"
#include "segmenter/network/context.h"
#include "segmenter/network/input_planes.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// A whole region at a coarse scale, and what may be asked about it.
struct Overview {
  /// The fold of an overview that no context network has learned from.
  static constexpr int kUnseen = 255;

  TrainingTile tile;
  int fold = kUnseen;  // which context network has not learned from it
};

struct SegmenterState {
  std::vector<std::string> categories;  // ascending; also the order of the network's outputs
  InputSpec input;
  nn::Network net;
  ContextModel context;
  std::vector<TrainingTile> exemplars;  // what later trainings remember this one by
  std::vector<Overview> overviews;      // of the exemplars' regions
};

std::string write_state(const SegmenterState& model);

/// Throws invalid_training_artifact, training_artifact_tool_type_error,
/// training_artifact_unsupported_version.
SegmenterState read_state(const std::string& artifact);

}  // namespace telvar::segmenter
