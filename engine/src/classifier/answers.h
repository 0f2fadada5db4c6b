#pragma once

// Scores as messages.

#include <string>
#include <vector>

#include "telvar_msg/classification.pb.h"

namespace telvar::classifier {

/// One score per category, by ascending identifier.
telvar_msg::qv::classification::SampleResult sample_result(
    const std::vector<std::string>& categories, const float* scores);

}  // namespace telvar::classifier
