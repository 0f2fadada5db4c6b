// Text as pixels.
#pragma once

#include <opencv2/core/mat.hpp>
#include <string>

namespace telvar_host {

// One line of UTF-8 text in any script that the system has a font for: how much of each pixel the
// letters cover, 8-bit, at least one pixel. Without a font, or in a program built without Pango, in
// a font that knows ASCII alone, where other characters show as "?".
//
// `font` is a description of Pango's ("Serif Bold 40"); empty: that of captions.
cv::Mat drawn_text(const std::string& text, const std::string& font = "");

}  // namespace telvar_host
