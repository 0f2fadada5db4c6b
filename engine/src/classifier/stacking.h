#pragma once

// Joins the networks and the kernel machine, and calibrates the scores: a weighted sum of their
// outputs, then softmax. The weights are those that explain held-out samples best, so they are
// blend and temperature in one.

#include <vector>

#include "classifier/kernel/matrix.h"

namespace telvar::classifier {

struct Stacking {
  float network = 1;  // multiplies logits
  float kernel = 0;   // multiplies kernel scores
};

/// Fits on held-out outputs, samples x categories; `kernel` may be empty (no machine).
Stacking fit_stacking(const Matrix& network, const Matrix& kernel, const std::vector<int>& labels);

/// Softmax scores, samples x categories; all alike where the weighted sum is not finite.
Matrix stacked_scores(const Stacking& stacking, const Matrix& network, const Matrix& kernel);

}  // namespace telvar::classifier
