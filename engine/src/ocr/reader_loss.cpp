#include "ocr/reader_loss.h"

#include <cstring>

namespace telvar::ocr {
namespace {

namespace F = torch::nn::functional;

constexpr double kFocus = 1.5;       // exponent of the focal weight
constexpr double kBackground = 1.5;  // weight of background cells
constexpr double kSmoothing = 0.05;  // of the category labels
constexpr double kOffsetKnee = 0.1;  // characters: quadratic below, linear above
constexpr double kObjectnessShare = 2.0;
constexpr double kOffsetShare = 2.0;
/// Crops without characters weigh as if they had about one.
constexpr std::int64_t kLeastCells = 8;

torch::Tensor gathered(const std::vector<Targets>& targets, std::vector<float> Targets::*member) {
  torch::Tensor tensor =
      torch::empty({static_cast<std::int64_t>(targets.size()), kCellRows, kCellColumns});
  float* out = tensor.data_ptr<float>();
  for (const Targets& target : targets) {
    const std::vector<float>& values = target.*member;
    std::memcpy(out, values.data(), values.size() * sizeof(float));
    out += values.size();
  }
  return tensor;
}

torch::Tensor categories_of(const std::vector<Targets>& targets) {
  std::vector<std::int64_t> categories;
  for (const Targets& target : targets) {
    for (const std::int64_t category : target.category) {
      if (category >= 0) categories.push_back(category);
    }
  }
  return torch::tensor(categories, torch::kLong);
}

torch::Tensor objectness_loss(const torch::Tensor& logit, const torch::Tensor& objectness,
                              const torch::Tensor& weight) {
  const torch::Tensor entropy = F::binary_cross_entropy_with_logits(
      logit, objectness, F::BinaryCrossEntropyWithLogitsFuncOptions().reduction(torch::kNone));
  const torch::Tensor wrong = (torch::sigmoid(logit) - objectness).abs();
  const torch::Tensor balance = objectness + kBackground * (1 - objectness);
  return (entropy * wrong.pow(kFocus) * balance * weight).sum();
}

}  // namespace

torch::Tensor stacked(const std::vector<Crop>& crops) {
  torch::Tensor tensor =
      torch::empty({static_cast<std::int64_t>(crops.size()), 1, kCropHeight, kCropWidth});
  float* out = tensor.data_ptr<float>();
  for (const Crop& crop : crops) {
    std::memcpy(out, crop.pixels.values.data(), crop.pixels.values.size() * sizeof(float));
    out += crop.pixels.values.size();
  }
  return tensor;
}

torch::Tensor reader_loss(const torch::Tensor& answer, const std::vector<Targets>& targets,
                          const torch::Tensor& log_shares) {
  const torch::Tensor objectness = gathered(targets, &Targets::objectness);
  const torch::Tensor cells = objectness > 0;
  const torch::Tensor categories = categories_of(targets);
  const double share = 1.0 / static_cast<double>(std::max(categories.size(0), kLeastCells));
  torch::Tensor loss = kObjectnessShare * objectness_loss(answer.select(1, 0), objectness,
                                                          gathered(targets, &Targets::weight));
  if (categories.size(0) > 0) {
    const torch::Tensor here = answer.permute({0, 2, 3, 1}).index({cells});
    const torch::Tensor offsets =
        torch::stack({gathered(targets, &Targets::offset_x).index({cells}),
                      gathered(targets, &Targets::offset_y).index({cells})},
                     1);
    loss = loss +
           F::cross_entropy(
               here.slice(1, 3) + log_shares, categories,
               F::CrossEntropyFuncOptions().reduction(torch::kSum).label_smoothing(kSmoothing)) +
           kOffsetShare * F::smooth_l1_loss(here.slice(1, 1, 3), offsets,
                                            F::SmoothL1LossFuncOptions().reduction(torch::kSum),
                                            kOffsetKnee);
  }
  return loss * share;
}

}  // namespace telvar::ocr
