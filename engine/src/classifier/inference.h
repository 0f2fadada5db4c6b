#pragma once

// What a trained classifier answers: the scores of its networks and its kernel machine, and of both
// together.

#include <vector>

#include "classifier/features/features.h"
#include "classifier/kernel/matrix.h"
#include "classifier/state.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

/// Makes `answers` from the networks.
void build_inference(ClassifierState& state);

/// `build_inference`, and drops what answers do not need: the exemplars and the networks' weights.
/// The state can then neither be fine-tuned nor written.
void prepare_for_inference(ClassifierState& state);

/// The wanted features of many samples.
std::vector<Features> describe_all(const std::vector<const Sample*>& samples, const Canvas& canvas,
                                   const FeatureGroups& wanted, core::WorkerPool& pool);

/// The mean of the networks' logits.
Matrix mean_logits(const ClassifierState& state, const std::vector<const Sample*>& samples,
                   core::WorkerPool& pool);

/// What the kernel machine says. Works in blocks, so that beside the answer its memory does not
/// grow with the number of samples.
KernelAnswer kernel_answer(const ClassifierState& state, const std::vector<const Sample*>& samples,
                           core::WorkerPool& pool);

/// Calibrated scores, samples x categories; flatter where a sample is unlike what was learned.
Matrix scores_of(const ClassifierState& state, const std::vector<const Sample*>& samples,
                 core::WorkerPool& pool);

}  // namespace telvar::classifier
