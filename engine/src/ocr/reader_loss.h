#pragma once

#include <torch/torch.h>

#include <vector>

#include "ocr/targets.h"

namespace telvar::ocr {

/// The crops of a batch as one N x 1 x kCropHeight x kCropWidth tensor.
torch::Tensor stacked(const std::vector<Crop>& crops);

/// The loss of the network's answer (N x (3 + K) x kCellRows x kCellColumns), a scalar: focal
/// cross-entropy of the objectness (Lin et al., 2017), and at the cells of characters smoothed
/// cross-entropy of the category and smooth absolute error of the offset; all per character cell.
/// `log_shares` (K values) are added to the category logits: what is seldom seen in training is
/// then not held for unlikely in reading (logit adjustment, Menon et al., 2021).
torch::Tensor reader_loss(const torch::Tensor& answer, const std::vector<Targets>& targets,
                          const torch::Tensor& log_shares);

}  // namespace telvar::ocr
