#pragma once

// Everything that a trained classifier is, and its bytes (docs/state-formats.md).

#include <string>
#include <vector>

#include "classifier/canvas.h"
#include "classifier/dense.h"
#include "classifier/kernel_machine.h"
#include "classifier/memory.h"
#include "classifier/network.h"
#include "classifier/stacking.h"
#include "classifier/symmetry.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

struct ClassifierState : Memory {
  Canvas canvas;
  Symmetry symmetry;
  std::vector<nn::Network> nets;
  std::vector<NetworkAnswers> answers;  // of the networks, once they are trained
  bool has_kernel = false;
  KernelMachine kernel;  // its landmarks are the first kernel.samples() kept samples
  Stacking stacking;
};

/// Makes `answers` from the networks.
void make_ready(ClassifierState& state);

std::string write_classifier(const ClassifierState& state);

/// Throws invalid_training_artifact, training_artifact_tool_type_error,
/// training_artifact_unsupported_version.
ClassifierState read_classifier(const std::string& artifact, core::WorkerPool& pool);

/// `make_ready`, and forgets what answers do not need: the kept samples and the networks' weights.
/// The state can then neither be trained on nor written.
void prepare_for_answers(ClassifierState& state);

/// The features of many samples.
std::vector<Features> describe_all(const std::vector<const Sample*>& samples, const Canvas& canvas,
                                   core::WorkerPool& pool);

/// The mean of the networks' logits.
Matrix mean_logits(const ClassifierState& state, const std::vector<const Sample*>& samples,
                   core::WorkerPool& pool);

/// The kernel machine's scores, samples x categories. Works in blocks, so that beside the scores
/// its memory does not grow with the number of samples.
Matrix kernel_scores(const ClassifierState& state, const std::vector<const Sample*>& samples,
                     core::WorkerPool& pool);

/// Calibrated scores, samples x categories.
Matrix scores_of(const ClassifierState& state, const std::vector<const Sample*>& samples,
                 core::WorkerPool& pool);

}  // namespace telvar::classifier
