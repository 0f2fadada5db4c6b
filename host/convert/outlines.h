// Masks as outlines, and back.
#pragma once

#include <opencv2/core/mat.hpp>
#include <vector>

#include "convert/annotations.h"

namespace telvar_host {

// One polygon for each connected part (4 neighbours) of the mask's pixels that are not 0, pixel
// corners at integers, holes joined to the outside by a cut of no width. Corners are left out where
// that moves the outline by less than `tolerance` pixels; a part of which nothing is left then has
// none.
std::vector<std::vector<cv::Point2d>> outlines_of(const cv::Mat& mask, double tolerance);

// An ellipse as a polygon of 64 corners.
std::vector<cv::Point2d> ellipse_outline(const cv::Point2d& centre, double radius_x,
                                         double radius_y);

// The smallest upright box around points, at least one.
cv::Rect2d box_around(const std::vector<cv::Point2d>& points);

// Sets the pixels of the shape in `mask` (8-bit) to 255. A pixel belongs to a polygon when its
// centre lies inside (even-odd rule). Throws data_error naming `file` for a shape without any
// outline, and for runs of another size.
void fill_shape(cv::Mat& mask, const Shape& shape, const std::string& file);

}  // namespace telvar_host
