// Drawing results onto pictures.
#pragma once

#include <array>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>

#include "datasets/region.h"
#include "tools/classifier_tool.h"
#include "tools/reader_tool.h"
#include "tools/segmenter_tool.h"

namespace telvar_host {

// A colour that tells categories apart: BGR for drawing. Repeats after eight.
cv::Scalar category_colour(std::size_t index);
// The same as "#rrggbb".
std::string category_css(std::size_t index);

// The picture with a frame and a dot for each character, and the region if there is one. Boxes have
// the nominal size; the text itself is not drawn, since fonts here know ASCII only.
cv::Mat drawn_reading(const cv::Mat& picture, const Reading& reading,
                      const std::optional<Region>& region, const NominalSize& size);

// The picture, enlarged if tiny, above a band that names the best category (ASCII letters only).
cv::Mat drawn_category(const cv::Mat& picture, const CategoryScore& best);

// Each category's pixels of at least half probability tinted and outlined in its colour.
cv::Mat drawn_segments(const cv::Mat& picture, const Probabilities& probabilities,
                       const std::optional<Region>& region);

}  // namespace telvar_host
