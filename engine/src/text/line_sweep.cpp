#include "text/line_sweep.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <list>
#include <map>

#include "text/lines.h"

namespace telvar::text {
namespace {

class Sweep {
 public:
  explicit Sweep(const std::vector<LinePoint>& points) : points_(points) {}

  void add(std::size_t point) {
    const auto below = by_course_.lower_bound(points_[point].across);
    Line* line = nearest_line(points_[point].across, below);
    if (line == nullptr) line = begin_line(points_[point].across, below);
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
  using ByCourse = std::multimap<double, Line*>;

  struct Line {
    LineMembers members;
    ByCourse::iterator entry;
    std::list<Line>::iterator self;
  };

  Line* nearest_line(double across, ByCourse::iterator below) const {
    Line* best = nullptr;
    double limit = kLineTolerance;
    if (below != by_course_.end() && below->first - across <= limit) {
      best = below->second;
      limit = below->first - across;
    }
    if (below != by_course_.begin() && across - std::prev(below)->first <= limit) {
      best = std::prev(below)->second;
    }
    return best;
  }

  /// The new line takes its place next to the line above it at this point, so that the order stays
  /// right however the lines bend later.
  Line* begin_line(double across, ByCourse::iterator below) {
    auto place = lines_.begin();
    if (below != by_course_.begin()) {
      place = std::next(std::prev(below)->second->self);
    } else if (below != by_course_.end()) {
      place = below->second->self;
    }
    const auto line = lines_.emplace(place);
    line->self = line;
    line->entry = by_course_.emplace(across, &*line);
    return &*line;
  }

  void follow(Line& line) {
    const std::size_t size = line.members.size();
    const double course = course_of(points_, line.members, size - 1, size);
    if (course == line.entry->first) return;
    by_course_.erase(line.entry);
    line.entry = by_course_.emplace(course, &line);
  }

  const std::vector<LinePoint>& points_;
  std::list<Line> lines_;  // top to bottom
  ByCourse by_course_;     // by where each line ran last
};

}  // namespace

double course_of(const std::vector<LinePoint>& points, const LineMembers& line, std::size_t nearest,
                 std::size_t skip) {
  const std::size_t wanted = kCoursePoints + (skip < line.size() ? 1 : 0);
  const std::size_t count = std::min(wanted, line.size());
  const std::size_t centred = nearest > count / 2 ? nearest - count / 2 : 0;
  const std::size_t begin = std::min(centred, line.size() - count);
  std::array<double, kCoursePoints + 1> across{};
  std::size_t known = 0;
  for (std::size_t i = begin; i < begin + count; ++i) {
    if (i != skip) across[known++] = points[line[i]].across;
  }
  std::sort(across.begin(), across.begin() + known);
  const double upper = across[known / 2];
  return known % 2 == 1 ? upper : 0.5 * (across[known / 2 - 1] + upper);
}

std::vector<LineMembers> sweep_lines(const std::vector<LinePoint>& points) {
  Sweep sweep(points);
  for (std::size_t i = 0; i < points.size(); ++i) sweep.add(i);
  return sweep.take();
}

}  // namespace telvar::text
