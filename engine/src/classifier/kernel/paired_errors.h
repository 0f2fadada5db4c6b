#pragma once

// Whether one way to learn is better than another, judged on the same samples.

#include <vector>

namespace telvar::classifier {

/// Of at least one value.
double mean_of(const std::vector<double>& values);

/// Whether the mean of `mine` is further than so many standard errors from that of `others`, which
/// are of the same samples, at least one.
bool differ(const std::vector<double>& mine, const std::vector<double>& others,
            double standard_errors);

}  // namespace telvar::classifier
