#pragma once

// Everything that a trained classifier is, and its bytes (docs/state-formats.md).

#include <optional>
#include <string>
#include <vector>

#include "classifier/exemplars.h"
#include "classifier/kernel/machine.h"
#include "classifier/kernel/matrix.h"
#include "classifier/network.h"
#include "classifier/novelty.h"
#include "classifier/samples/dihedral.h"
#include "classifier/samples/preparation.h"
#include "classifier/stacking.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

struct ClassifierState : ExemplarMemory {
  Canvas canvas;
  Symmetry symmetry;
  std::vector<nn::Network> nets;
  std::vector<NetworkInference> answers;  // of the networks, once they are trained
  bool has_kernel = false;
  KernelMachine kernel;  // its landmarks are the first kernel.samples() exemplars
  Stacking stacking;
  std::optional<Novelty> novelty;  // with a kernel machine, where held-out samples were enough
};

std::string write_state(const ClassifierState& state);

/// Throws invalid_training_artifact, training_artifact_tool_type_error,
/// training_artifact_unsupported_version.
ClassifierState read_state(const std::string& artifact, core::WorkerPool& pool);

}  // namespace telvar::classifier
