#pragma once

// Finds out how the images of a training set lie, from the samples alone.

#include <vector>

#include "classifier/kernel/choice.h"
#include "classifier/samples/dihedral.h"
#include "classifier/samples/preparation.h"
#include "core/training_pool.h"

namespace telvar::classifier {

/// Under which transforms samples are recognised about as well as they are, in every category; or
/// other ones, if comparing under all of them makes the leave-one-out error clearly lower.
/// `features` and `labels` (0 .. categories - 1) belong together; too few samples, or too badly
/// recognised ones, show no symmetry.
Symmetry find_symmetry(const std::vector<Features>& features, const std::vector<int>& labels,
                       const Canvas& canvas, const KernelChoice& choice, int categories,
                       core::TrainingPool& pool);

}  // namespace telvar::classifier
