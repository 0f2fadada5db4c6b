#include "convert/outlines.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "app/errors.h"

namespace telvar_host {
namespace {

using Ring = std::vector<cv::Point>;

std::string text_of(const cv::Size& size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height);
}

// The runs fill their size (see parse_coco).
void fill_runs(cv::Mat& mask, const Shape& shape, const std::string& file) {
  const auto& runs = shape.runs;
  if (!runs.empty() && shape.runs_size != mask.size()) {
    throw data_error(file + ": is " + text_of(mask.size()) + ", but the runs of a label '" +
                     shape.category + "' are for " + text_of(shape.runs_size));
  }
  std::size_t at = 0;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    for (std::size_t k = 0; i % 2 == 1 && k < runs[i]; ++k) {
      const auto pixel = at + k;
      mask.at<unsigned char>(static_cast<int>(pixel % mask.rows),
                             static_cast<int>(pixel / mask.rows)) = 255;
    }
    at += runs[i];
  }
}

// A pixel belongs when its centre lies inside (even-odd rule); outlines have pixel corners at
// integers. OpenCV's filling would add the pixels that the outline touches.
void fill_polygon(cv::Mat& mask, const std::vector<cv::Point2d>& polygon) {
  for (int y = 0; y < mask.rows; ++y) {
    const double row = y + 0.5;
    std::vector<double> crossings;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const auto &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
      if ((a.y <= row) != (b.y <= row)) {
        crossings.push_back(a.x + (row - a.y) / (b.y - a.y) * (b.x - a.x));
      }
    }
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
      const double left = std::clamp(std::ceil(crossings[i] - 0.5), 0.0, double(mask.cols));
      const double right = std::clamp(std::ceil(crossings[i + 1] - 0.5), 0.0, double(mask.cols));
      for (int x = static_cast<int>(left); x < right; ++x) mask.at<unsigned char>(y, x) = 255;
    }
  }
}

// Follows the edges between the pixels that belong and those that do not, with the former on the
// right hand. Rings around parts run clockwise, those around holes against the clock.
class EdgeWalk {
 public:
  explicit EdgeWalk(const cv::Mat& mask) : mask_(mask), seen_(cv::Mat::zeros(mask.size(), CV_8U)) {}

  // Calls `found(ring, pixel)` for every ring, with a pixel of the part that it bounds.
  template <typename Found>
  void all(const Found& found) {
    for (int y = 0; y < mask_.rows; ++y) {
      for (int x = 0; x < mask_.cols; ++x) {
        // Every ring has an edge on top of a pixel.
        if (belongs(x, y) && !belongs(x, y - 1) && !seen_.at<unsigned char>(y, x)) {
          found(ring_from({x, y}), cv::Point(x, y));
        }
      }
    }
  }

 private:
  bool belongs(int x, int y) const {
    return x >= 0 && y >= 0 && x < mask_.cols && y < mask_.rows &&
           mask_.at<unsigned char>(y, x) != 0;
  }

  // The pixel ahead of a corner on the right (or left) hand; headings: right, down, left, up.
  bool ahead(const cv::Point& corner, int heading, bool right) const {
    static constexpr int kSide[4][2][2] = {
        {{0, -1}, {0, 0}}, {{0, 0}, {-1, 0}}, {{-1, 0}, {-1, -1}}, {{-1, -1}, {0, -1}}};
    const auto& side = kSide[heading][right ? 1 : 0];
    return belongs(corner.x + side[0], corner.y + side[1]);
  }

  Ring ring_from(const cv::Point& start) {
    static constexpr int kStep[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    Ring ring;
    auto corner = start;
    int heading = 0;
    do {
      if (heading == 0) seen_.at<unsigned char>(corner.y, corner.x) = 1;
      corner += cv::Point(kStep[heading][0], kStep[heading][1]);
      const int turn = !ahead(corner, heading, true) ? 1 : ahead(corner, heading, false) ? 3 : 0;
      if (turn != 0) ring.push_back(corner);
      heading = (heading + turn) % 4;
    } while (corner != start || heading != 0);
    return ring;
  }

  const cv::Mat& mask_;
  cv::Mat seen_;  // top edges of pixels that were walked along
};

bool is_hole(const Ring& ring) {
  return cv::contourArea(ring, true) < 0;
}

Ring simplified(const Ring& ring, double tolerance) {
  Ring simple;
  cv::approxPolyDP(ring, simple, tolerance, true);
  return simple;
}

// Goes from the polygon's nearest corner to the hole, around it, and the same way back.
void cut_out(Ring& polygon, const Ring& hole) {
  const auto distance = [&](const cv::Point& p) {
    const auto d = p - hole.front();
    return std::int64_t{d.x} * d.x + std::int64_t{d.y} * d.y;
  };
  const auto nearest =
      std::min_element(polygon.begin(), polygon.end(),
                       [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
  Ring way(hole);
  way.push_back(hole.front());
  way.push_back(*nearest);
  polygon.insert(nearest + 1, way.begin(), way.end());
}

}  // namespace

std::vector<cv::Point2d> ellipse_outline(const cv::Point2d& centre, double radius_x,
                                         double radius_y) {
  constexpr int kCorners = 64;
  std::vector<cv::Point2d> points;
  for (int i = 0; i < kCorners; ++i) {
    const double angle = 2 * CV_PI * i / kCorners;
    points.push_back(centre + cv::Point2d(radius_x * std::cos(angle), radius_y * std::sin(angle)));
  }
  return points;
}

cv::Rect2d box_around(const std::vector<cv::Point2d>& points) {
  cv::Point2d low = points.front(), high = points.front();
  for (const auto& p : points) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y)};
  }
  return {low, high};
}

void fill_shape(cv::Mat& mask, const Shape& shape, const std::string& file) {
  if (shape.polygons.empty() && shape.runs.empty() && shape.mask.empty()) {
    throw data_error(file + ": a label '" + shape.category + "' has no outline to make a mask of");
  }
  for (const auto& polygon : shape.polygons) fill_polygon(mask, polygon);
  fill_runs(mask, shape, file);
  if (!shape.mask.empty()) mask.setTo(255, shape.mask);
}

std::vector<std::vector<cv::Point2d>> outlines_of(const cv::Mat& mask, double tolerance) {
  cv::Mat parts;
  const int count = cv::connectedComponents(mask, parts, 4);
  std::vector<Ring> polygons(static_cast<std::size_t>(count));
  std::vector<std::pair<int, Ring>> holes;
  EdgeWalk(mask).all([&](const Ring& ring, const cv::Point& pixel) {
    const int part = parts.at<int>(pixel);
    const auto simple = simplified(ring, tolerance);
    if (simple.size() < 3) return;
    if (is_hole(ring)) {
      holes.emplace_back(part, simple);
    } else {
      polygons[static_cast<std::size_t>(part)] = simple;
    }
  });
  for (const auto& [part, hole] : holes) {
    auto& polygon = polygons[static_cast<std::size_t>(part)];
    if (!polygon.empty()) cut_out(polygon, hole);
  }
  std::vector<std::vector<cv::Point2d>> outlines;
  for (const auto& polygon : polygons) {
    if (!polygon.empty()) outlines.emplace_back(polygon.begin(), polygon.end());
  }
  return outlines;
}

}  // namespace telvar_host
