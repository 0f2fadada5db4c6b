// Drawing results onto images.
#pragma once

#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>
#include <vector>

#include "app/region.h"
#include "predictions/prediction.h"

namespace telvar_host {

// A colour that tells categories apart: BGR for drawing. Repeats after eight.
cv::Scalar category_colour(std::size_t index);
// The same as "#rrggbb".
std::string category_css(std::size_t index);

// The image with a frame and a dot for each character, a colour a line, and the region if there
// is one. Boxes have the nominal size.
cv::Mat drawn_reading(const cv::Mat& image, const Reading& reading,
                      const std::optional<Region>& region, const NominalSize& size);

// The image in 8 bits and colour, enlarged if tiny.
cv::Mat drawn_large(const cv::Mat& image);

// Each category's pixels of at least half probability tinted and outlined in its colour.
cv::Mat drawn_segments(const cv::Mat& image, const Probabilities& probabilities,
                       const std::optional<Region>& region);

// What was predicted of the image, enlarged if tiny, with captions.
cv::Mat drawn_prediction(const cv::Mat& image, const Prediction& prediction,
                         const std::optional<Region>& region, const NominalSize& size);

struct Caption {
  std::string text;  // UTF-8
  cv::Scalar colour;
};

// `canvas` above a dark band with a line for each caption and its colour in front. The band is as
// wide as its texts.
cv::Mat captioned(const cv::Mat& canvas, const std::vector<Caption>& captions);

}  // namespace telvar_host
