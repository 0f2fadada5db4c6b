#include "ocr/line_sweep.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <list>
#include <map>

#include "ocr/lines.h"

namespace telvar::ocr {
namespace {

// How many lines on either side of a point are compared. Lines of text are a height apart, so that
// two suffice; the bound keeps hostile input cheap.
constexpr int kNeighbours = 4;

class Sweep {
 public:
  explicit Sweep(const std::vector<LinePoint>& points) : points_(points) {}

  void add(std::size_t point) {
    const auto below = by_height_.lower_bound(points_[point].across);
    Line* line = nearest_line(points_[point], below);
    if (line == nullptr) line = begin_line(points_[point], below);
    line->members.push_back(point);
    follow(*line);
  }

  std::vector<LineMembers> take() {
    std::vector<LineMembers> lines;
    for (Line& line : lines_) lines.push_back(std::move(line.members));
    return lines;
  }

 private:
  struct Line;
  using ByHeight = std::multimap<double, Line*>;

  struct Line {
    LineMembers members;
    LineCourse course;
    ByHeight::iterator entry;
    std::list<Line>::iterator self;
  };

  Line* nearest_line(const LinePoint& point, ByHeight::iterator below) const {
    Line* best = nullptr;
    double best_distance = kLineTolerance;
    const auto consider = [&](Line* line) {
      const double distance = std::fabs(line->course.at(point.along) - point.across);
      if (distance < best_distance || (distance == best_distance && best == nullptr)) {
        best = line;
        best_distance = distance;
      }
    };
    auto above = below;
    for (int i = 0; i < kNeighbours && above != by_height_.begin(); ++i)
      consider((--above)->second);
    for (int i = 0; i < kNeighbours && below != by_height_.end(); ++i) consider((below++)->second);
    return best;
  }

  /// The new line takes its place next to the line above it at this point, so that the order stays
  /// right however the lines bend later.
  Line* begin_line(const LinePoint& point, ByHeight::iterator below) {
    auto place = lines_.begin();
    if (below != by_height_.begin()) {
      place = std::next(std::prev(below)->second->self);
    } else if (below != by_height_.end()) {
      place = below->second->self;
    }
    const auto line = lines_.emplace(place);
    line->self = line;
    line->entry = by_height_.emplace(point.across, &*line);
    return &*line;
  }

  void follow(Line& line) {
    const std::size_t last = line.members.size() - 1;
    line.course = course_around(points_, line.members, last, line.members.size());
    const double height = line.course.at(points_[line.members[last]].along);
    if (height == line.entry->first) return;
    by_height_.erase(line.entry);
    line.entry = by_height_.emplace(height, &line);
  }

  const std::vector<LinePoint>& points_;
  std::list<Line> lines_;  // top to bottom
  ByHeight by_height_;     // by the course's height at the line's last point
};

}  // namespace

LineCourse course_around(const std::vector<LinePoint>& points, const LineMembers& line,
                         std::size_t nearest, std::size_t skip) {
  const std::size_t wanted = kCoursePoints + (skip < line.size() ? 1 : 0);
  const std::size_t count = std::min(wanted, line.size());
  const std::size_t centred = nearest > count / 2 ? nearest - count / 2 : 0;
  const std::size_t begin = std::min(centred, line.size() - count);
  std::array<LinePoint, kCoursePoints + 1> around;
  std::size_t taken = 0;
  for (std::size_t i = begin; i < begin + count && taken < kCoursePoints; ++i) {
    if (i != skip) around[taken++] = points[line[i]];
  }
  return LineCourse(around.data(), taken);
}

std::vector<LineMembers> sweep_lines(const std::vector<LinePoint>& points) {
  Sweep sweep(points);
  for (std::size_t i = 0; i < points.size(); ++i) sweep.add(i);
  return sweep.take();
}

}  // namespace telvar::ocr
