#include "text/lines.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>

#include "text/line_sweep.h"
#include "text/slant.h"

namespace telvar::text {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// A group of so few characters may be punctuation marks of a line that was found without them. A
// line of so many has a course that others can be compared with.
constexpr std::size_t kFewMarks = 2;
constexpr std::size_t kLongEnough = 3;

// Character heights: lines whose points lie this near to a longer one, by their median distance,
// are parts of it.
// Lines of text are farther apart even where characters are 0.7 of nominal.
constexpr double kPartTolerance = 0.68;

// How many small groups may lie between a point and the line that it belongs to.
constexpr std::size_t kSearch = 4;

// In character heights: a mark joins a line, and a character moves to one, only if that has a
// character within this reach along the reading direction; and a character leaves its line only for
// one that runs nearer by the gain.
constexpr double kMarkReach = 2.0;
constexpr double kMoveReach = 4.0;
constexpr double kMoveGain = 0.05;
// How often all characters are looked at for such a move; the moves of one time change the courses.
constexpr int kMoves = 2;

/// The points of a call in the turned frame, sorted for the sweep; `index` leads back.
struct TurnedPoints {
  std::vector<LinePoint> points;
  std::vector<std::size_t> index;
};

TurnedPoints turn(const std::vector<LinePoint>& points, double slant) {
  const double cosine = std::cos(slant);
  const double sine = std::sin(slant);
  std::vector<LinePoint> turned(points.size());
  std::transform(points.begin(), points.end(), turned.begin(), [&](const LinePoint& p) {
    return LinePoint{p.along * cosine + p.across * sine, p.across * cosine - p.along * sine};
  });
  TurnedPoints sorted;
  sorted.index.resize(points.size());
  std::iota(sorted.index.begin(), sorted.index.end(), std::size_t{0});
  std::sort(sorted.index.begin(), sorted.index.end(), [&](std::size_t a, std::size_t b) {
    return std::tie(turned[a].along, turned[a].across, a) <
           std::tie(turned[b].along, turned[b].across, b);
  });
  for (const std::size_t i : sorted.index) sorted.points.push_back(turned[i]);
  return sorted;
}

/// How far `point` lies from the course of `line`, of which it may be the `own`-th member (else
/// line.size()); infinite where the line ends more than `reach` away.
double distance_to(const std::vector<LinePoint>& points, const LineMembers& line,
                   const LinePoint& point, std::size_t own, double reach) {
  if (line.size() <= (own < line.size() ? 1u : 0u)) return kInfinity;
  const auto after = std::lower_bound(
      line.begin(), line.end(), point.along,
      [&](std::size_t member, double along) { return points[member].along < along; });
  const std::size_t position = after - line.begin();
  double gap = after == line.end() ? kInfinity : points[*after].along - point.along;
  if (position > 0) gap = std::min(gap, point.along - points[line[position - 1]].along);
  if (gap > reach) return kInfinity;
  const std::size_t nearest = std::min(own < line.size() ? own : position, line.size() - 1);
  return std::fabs(course_of(points, line, nearest, own) - point.across);
}

/// The second look at lines from top to bottom. Every step decides on the lines as they were before
/// it, so that no decision depends on another.
class Refinement {
 public:
  Refinement(const std::vector<LinePoint>& points, std::vector<LineMembers> lines)
      : points_(points), lines_(std::move(lines)) {}

  /// Each of a few marks joins the line it stands in.
  void take_in_marks() {
    reassign([this](std::size_t line, std::size_t member) {
      if (lines_[line].size() > kFewMarks) return line;
      const LinePoint& point = points_[lines_[line][member]];
      return nearer_neighbour(line, kMarkTolerance, [&](const LineMembers& other) {
        return distance_to(points_, other, point, other.size(), kMarkReach);
      });
    });
  }

  /// Lines that are parts of a longer one become one with it.
  void join_parts() {
    std::vector<std::size_t> whole(lines_.size());
    for (std::size_t line = 0; line < lines_.size(); ++line) whole[line] = longer_line(line);
    for (std::size_t line = 0; line < lines_.size(); ++line) {
      // Links lead to longer lines, so that following them ends; shortening keeps that cheap.
      while (whole[whole[line]] != whole[line]) whole[line] = whole[whole[line]];
    }
    reassign([&](std::size_t line, std::size_t) { return whole[line]; });
  }

  void move_to_nearer_lines() {
    reassign([this](std::size_t line, std::size_t member) {
      const LineMembers& members = lines_[line];
      if (members.size() < kLongEnough) return line;
      const LinePoint& point = points_[members[member]];
      const double distance = distance_to(points_, members, point, member, kInfinity);
      return nearer_neighbour(line, distance - kMoveGain, [&](const LineMembers& other) {
        return distance_to(points_, other, point, other.size(), kMoveReach);
      });
    });
  }

  std::vector<LineMembers> take() { return std::move(lines_); }

 private:
  /// The line that `line` is a part of, as far as one look tells; itself when it stands alone.
  std::size_t longer_line(std::size_t line) const {
    const LineMembers& members = lines_[line];
    if (members.size() < kLongEnough) return line;
    std::vector<double> distances(members.size());
    return nearer_neighbour(line, kPartTolerance, [&](const LineMembers& other) {
      const bool longer =
          &other < &members ? other.size() >= members.size() : other.size() > members.size();
      if (!longer) return kInfinity;
      std::transform(members.begin(), members.end(), distances.begin(), [&](std::size_t member) {
        return distance_to(points_, other, points_[member], other.size(), kInfinity);
      });
      const auto middle = distances.begin() + distances.size() / 2;
      std::nth_element(distances.begin(), middle, distances.end());
      return *middle;
    });
  }

  /// The long enough line above or below `line` with the smallest `distance_of` under `limit`, or
  /// `line` itself.
  template <typename DistanceOf>
  std::size_t nearer_neighbour(std::size_t line, double limit, DistanceOf distance_of) const {
    std::size_t best = line;
    const auto consider = [&](std::size_t other) {
      if (lines_[other].size() < kLongEnough) return false;
      const double distance = distance_of(lines_[other]);
      if (distance < limit) {
        best = other;
        limit = distance;
      }
      return true;
    };
    const std::size_t last = std::min(line + kSearch, lines_.size() - 1);
    for (std::size_t other = line; other > 0 && other + kSearch > line;) {
      if (consider(--other)) break;
    }
    for (std::size_t other = line; other < last;) {
      if (consider(++other)) break;
    }
    return best;
  }

  template <typename LineOf>
  void reassign(LineOf line_of) {
    std::vector<LineMembers> changed(lines_.size());
    for (std::size_t line = 0; line < lines_.size(); ++line) {
      for (std::size_t member = 0; member < lines_[line].size(); ++member) {
        changed[line_of(line, member)].push_back(lines_[line][member]);
      }
    }
    lines_.clear();
    for (LineMembers& line : changed) {
      if (line.empty()) continue;
      std::sort(line.begin(), line.end());  // positions ascend with `along`
      lines_.push_back(std::move(line));
    }
  }

  const std::vector<LinePoint>& points_;
  std::vector<LineMembers> lines_;
};

}  // namespace

std::vector<std::vector<std::size_t>> group_into_lines(
    const std::vector<std::pair<float, float>>& points, float height) {
  std::vector<LinePoint> scaled;
  scaled.reserve(points.size());
  for (const auto& [x, y] : points) scaled.push_back({double{x} / height, double{y} / height});
  TurnedPoints turned = turn(scaled, estimate_slant(scaled));
  remove_bow(turned.points);

  Refinement refinement(turned.points, sweep_lines(turned.points));
  refinement.take_in_marks();
  refinement.join_parts();
  for (int i = 0; i < kMoves; ++i) refinement.move_to_nearer_lines();

  std::vector<std::vector<std::size_t>> lines = refinement.take();
  for (std::vector<std::size_t>& line : lines) {
    std::sort(line.begin(), line.end(), [&](std::size_t a, std::size_t b) {
      return std::tie(turned.points[a].along, turned.index[a]) <
             std::tie(turned.points[b].along, turned.index[b]);
    });
    for (std::size_t& member : line) member = turned.index[member];
  }
  return lines;
}

}  // namespace telvar::text
