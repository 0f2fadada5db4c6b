#include "core/adam.h"

#include <cmath>
#include <cstddef>

namespace telvar::core {
namespace {

constexpr float kEpsilon = 1e-8f;

}  // namespace

double gradient_norm(const std::vector<AdamSlot>& slots) {
  double sum = 0;
  for (const AdamSlot& slot : slots) {
    double part = 0;
    for (const float value : slot.gradient) part += static_cast<double>(value) * value;
    sum += part;
  }
  return std::sqrt(sum);
}

void adam_step(AdamSlot& slot, const AdamStep& step, float gradient_scale) {
  const auto beta1 = static_cast<float>(step.beta1), beta2 = static_cast<float>(step.beta2);
  const auto rate = static_cast<float>(step.rate / (1 - std::pow(step.beta1, step.number)));
  const auto square_scale = static_cast<float>(1 / (1 - std::pow(step.beta2, step.number)));
  const float keep = slot.decays ? static_cast<float>(1 - step.rate * step.weight_decay) : 1.0f;
  float* const values = slot.values;
  float* const mean = slot.mean.data();
  float* const square = slot.square.data();
  for (std::size_t i = 0; i < slot.gradient.size(); ++i) {
    const float gradient = slot.gradient[i] * gradient_scale;
    mean[i] = beta1 * mean[i] + (1 - beta1) * gradient;
    square[i] = beta2 * square[i] + (1 - beta2) * gradient * gradient;
    values[i] =
        keep * values[i] - rate * mean[i] / (std::sqrt(square[i] * square_scale) + kEpsilon);
  }
}

}  // namespace telvar::core
