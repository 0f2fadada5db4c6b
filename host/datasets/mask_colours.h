// Masks that show classes by colours: with a palette, or as red, green and blue.
#pragma once

#include <cstdint>
#include <map>
#include <opencv2/core/mat.hpp>
#include <string>

namespace telvar_host {

using ColourIndexes = std::map<std::uint32_t, int>;  // class index by 0xRRGGBB

// The colours that class indexes 0 to 255 have in the usual palette, in which an index's lowest
// three bits are the highest bits of red, green and blue, the next three the second highest, and so
// on. The palette's border colour (224, 224, 192) counts as background.
ColourIndexes palette_colours();

struct LabelMap {
  std::map<int, std::string> classes;  // without the background
  ColourIndexes colours;
};

// Lines "NAME:R,G,B:...", those that start with # aside; "background" has index 0, the others count
// from 1. Throws data_error naming the line.
LabelMap parse_label_map(const std::string& text, const std::string& name);

constexpr int kNoClass = 65535;

// 16-bit class indexes of a mask of three channels; kNoClass for a colour that is no class's.
cv::Mat indexes_of(const cv::Mat& mask, const ColourIndexes& colours);

}  // namespace telvar_host
