#pragma once

#include <vector>

#include "ocr/experts/evaluation.h"

namespace telvar::ocr {

/// The sharpness (expert.h) under which the right categories of characters that the network
/// has not seen are most likely. With few of them it stays near what readers usually need.
float fit_sharpness(const std::vector<LabelledScores>& judged);

}  // namespace telvar::ocr
