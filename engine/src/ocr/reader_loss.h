#pragma once

#include <vector>

#include "ocr/targets.h"

namespace telvar::ocr {

/// The loss of the network's answer, kCellRows x kCellColumns x (kFirstCategory + K) floats for
/// each crop of `targets`, one after the other; `gradient`, of the same shape, takes its gradient.
/// Focal cross-entropy of the objectness (Lin et al., 2017), and at the cells of characters
/// smoothed cross-entropy of the category and smooth absolute error of the offset; all per
/// character cell. `log_shares` (K values) are added to the category logits: what is seldom seen in
/// training is then not held for unlikely in reading (logit adjustment, Menon et al., 2021).
double reader_loss(const float* answer, const std::vector<Targets>& targets,
                   const std::vector<float>& log_shares, float* gradient);

}  // namespace telvar::ocr
