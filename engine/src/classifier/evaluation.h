#pragma once

// How well a classifier does on samples that its networks have not seen.

#include <vector>

#include "classifier/kernel/matrix.h"
#include "classifier/state.h"
#include "classifier/training_set.h"

namespace telvar::classifier {

/// The samples at some indices of a set.
std::vector<const Sample*> pointers(const TrainingSet& set, const std::vector<int>& indices);

/// What each held-out sample (an index of the set) gets from the network that has not seen it,
/// samples x categories.
Matrix held_out_logits(const TrainingSet& set, const ClassifierState& state,
                       const std::vector<int>& held_out, core::WorkerPool& pool);

/// Share of samples whose best score is their label's.
double accuracy(const Matrix& scores, const std::vector<int>& labels);

}  // namespace telvar::classifier
