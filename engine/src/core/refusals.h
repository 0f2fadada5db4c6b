#pragma once

// What the tools refuse for the same reason, in the same words.

#include <cstddef>
#include <string>

#include "telvar/exceptions.h"

namespace telvar::core {

/// For a `subject` ("sample 'a'") that has more of something than is kept, such as `count`
/// "labels".
types::invalid_dataset too_many(const std::string& subject, std::size_t count, const char* what,
                                std::size_t limit);

/// For a tool that has no run-time parameters, and got some.
types::invalid_parameters no_parameters_known(const char* tool, const std::string& given);

}  // namespace telvar::core
