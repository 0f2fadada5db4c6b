// Lines of a dot-matrix printer on a surface, as a camera sees them.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "app/tool_kind.h"
#include "datasets/ocr_data.h"

namespace telvar_host {

struct PrintedCode {
  cv::Mat image;                          // 8-bit gray, as large as the surface
  std::vector<CharacterMark> characters;  // line by line
};

NominalSize printed_character_size();

// Two lines of characters that the printer has (demo/dot_font.h), in dark ink about the middle of
// `surface` (32-bit float, gray values), turned, placed and blurred a little, each time otherwise.
PrintedCode print_code(cv::RNG& rng, const cv::Mat& surface, const std::vector<std::string>& lines);

}  // namespace telvar_host
