#pragma once

#include <vector>

#include "core/random.h"
#include "ocr/prepared_sample.h"

namespace telvar::ocr {

/// Cut-outs that together show every category about equally often, at most kMaxExemplars of them;
/// labels and unlabelled places come along. Depends on its arguments alone.
std::vector<PreparedSample> choose_exemplars(const std::vector<const PreparedSample*>& samples,
                                             int categories, core::Random& random);

}  // namespace telvar::ocr
