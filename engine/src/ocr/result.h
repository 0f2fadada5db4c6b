#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "ocr/experts/decoding.h"
#include "ocr/reading_scale.h"

namespace telvar::ocr {

/// The serialised Result message: characters (places in region pixels) in reading order, their
/// scores best first (ties by category), the lines and their texts, the mean and the lowest best
/// score.
std::string write_result(std::vector<FoundCharacter> characters,
                         const std::vector<std::string>& categories, const NominalSize& size,
                         std::chrono::nanoseconds time);

}  // namespace telvar::ocr
