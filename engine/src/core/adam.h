#pragma once

// AdamW (Loshchilov and Hutter, 2019) over the parameters of a network.

#include <vector>

namespace telvar::core {

/// One parameter tensor with its state; `gradient` is the sum that the step takes.
struct AdamSlot {
  float* values;
  std::vector<float> gradient, mean, square;
  bool decays;
};

struct AdamStep {
  double rate;
  double weight_decay;
  double beta1, beta2;
  int number;  // from 1; corrects the bias of the moments
};

/// Length of all gradients together, summed in slot order.
double gradient_norm(const std::vector<AdamSlot>& slots);

/// Moves one slot's values; `gradient_scale` multiplies its gradient first.
void adam_step(AdamSlot& slot, const AdamStep& step, float gradient_scale);

}  // namespace telvar::core
