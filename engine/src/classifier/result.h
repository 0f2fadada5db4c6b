#pragma once

// Scores as messages.

#include <string>
#include <vector>

#include "telvar_msg/classification.pb.h"

namespace telvar::classifier {

/// One score per category, by ascending identifier.
telvar_msg::qv::classification::SampleResult sample_result(
    const std::vector<std::string>& categories, const float* scores);

/// The same into a message that is empty. A message on an arena must be filled in place: assigning
/// one that is not copies, and ends the process when memory runs out, since it must not throw.
void fill_sample_result(const std::vector<std::string>& categories, const float* scores,
                        telvar_msg::qv::classification::SampleResult& result);

}  // namespace telvar::classifier
