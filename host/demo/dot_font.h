// The characters of a dot-matrix printer: capitals, digits and the full stop.
#pragma once

#include <opencv2/core/types.hpp>
#include <vector>

namespace telvar_host {

constexpr int kDotColumns = 5;
constexpr int kDotRows = 7;

// The dots of a character by column and row, from its upper left dot on. Empty for one that the
// printer does not have.
std::vector<cv::Point> dots_of(char character);

}  // namespace telvar_host
