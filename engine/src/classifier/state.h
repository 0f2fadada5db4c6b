#pragma once

// Everything that a trained classifier is, and its bytes (docs/state-formats.md).

#include <memory>
#include <string>
#include <vector>

#include "classifier/canvas.h"
#include "classifier/kernel_machine.h"
#include "classifier/network.h"
#include "classifier/stacking.h"

namespace telvar::classifier {

/// A training sample that the artifact keeps: landmark of the kernel machine, and memory of its
/// category for later trainings.
struct KeptSample {
  int category;  // index
  int fold;      // held out by the network of this number, if there is one
  Sample pixels;
};

struct ClassifierState {
  std::vector<std::string> categories;  // ascending
  Canvas canvas;
  std::vector<std::shared_ptr<NetworkImpl>> nets;
  bool has_kernel = false;
  KernelMachine kernel;  // its landmarks are the first kernel.samples() kept samples
  Stacking stacking;
  std::vector<KeptSample> kept;
};

std::string write_classifier(const ClassifierState& state);

/// Throws invalid_training_artifact, training_artifact_tool_type_error,
/// training_artifact_unsupported_version.
ClassifierState read_classifier(const std::string& artifact, core::WorkerPool& pool);

/// The features of many samples.
std::vector<Features> describe_all(const std::vector<const Sample*>& samples, const Canvas& canvas,
                                   core::WorkerPool& pool);

/// The mean of the networks' logits.
Matrix mean_logits(const ClassifierState& state, const std::vector<const Sample*>& samples,
                   core::WorkerPool& pool);

/// Calibrated scores, samples x categories.
Matrix scores_of(const ClassifierState& state, const std::vector<const Sample*>& samples,
                 core::WorkerPool& pool);

}  // namespace telvar::classifier
