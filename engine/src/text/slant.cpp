#include "text/slant.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace telvar::text {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;

// Lengths are character heights here. Pairs are counted within strips of this width: wide enough to
// tell half a degree, and narrow enough that a bowed line or a wide page does not blur the count.
constexpr double kStripWidth = 16.0;

// Two points speak for one line when they are this near across it, and twice when they are within
// the inner distance.
constexpr double kOuterDistance = 0.3;
constexpr double kInnerDistance = 0.15;

// By what share of its score the widest slant must be better than none to be believed; a smaller
// slant by as much less.
constexpr double kSlantPenalty = 0.1;

// The bow of the lines is measured as a slope for each cell of this width, from the cell and its
// two neighbours, up to so many degrees. The penalty is that of the slant: bows are rare.
constexpr double kCellWidth = 4.0;
constexpr double kMaxBow = 12.0;
constexpr double kBowPenalty = 0.3;

/// Points ordered by strip; `ends[i]` is one past the last point of strip i.
struct Strips {
  std::vector<LinePoint> points;
  std::vector<std::size_t> ends;
};

Strips cut_into_strips(std::vector<LinePoint> points) {
  std::sort(points.begin(), points.end(),
            [](const LinePoint& a, const LinePoint& b) { return a.along < b.along; });
  const double first = points.front().along;
  const double extent = points.back().along - first;
  const double width = extent / std::max(1.0, std::ceil(extent / kStripWidth));
  const auto strip_of = [&](const LinePoint& p) {
    return width > 0 ? std::floor((p.along - first) / width) : 0.0;
  };
  Strips strips;
  for (std::size_t i = 1; i <= points.size(); ++i) {
    if (i == points.size() || strip_of(points[i]) != strip_of(points[i - 1])) {
      strips.ends.push_back(i);
    }
  }
  strips.points = std::move(points);
  return strips;
}

/// The number of pairs of sorted values in [begin, end) that are at most `distance` apart.
double close_pairs(const double* begin, const double* end, double distance) {
  double pairs = 0;
  for (const double *low = begin, *value = begin; value != end; ++value) {
    while (*value - *low > distance) ++low;
    pairs += static_cast<double>(value - low);
  }
  return pairs;
}

/// How strongly points lie on lines of a slant: the close pairs within each strip.
class SlantScore {
 public:
  explicit SlantScore(Strips strips) : strips_(std::move(strips)), across_(strips_.points.size()) {}

  double operator()(double degrees) {
    const double sine = std::sin(degrees * kDegree);
    const double cosine = std::cos(degrees * kDegree);
    std::transform(strips_.points.begin(), strips_.points.end(), across_.begin(),
                   [&](const LinePoint& p) { return p.across * cosine - p.along * sine; });
    double pairs = 0;
    std::size_t begin = 0;
    for (const std::size_t end : strips_.ends) {
      std::sort(across_.begin() + begin, across_.begin() + end);
      pairs += close_pairs(&across_[begin], across_.data() + end, kOuterDistance) +
               close_pairs(&across_[begin], across_.data() + end, kInnerDistance);
      begin = end;
    }
    return pairs;
  }

 private:
  Strips strips_;
  std::vector<double> across_;
};

/// The slant with the best score less `penalty` of it at the widest one, in whole degrees from
/// -widest to widest, then in halves; the smaller one in doubt.
double best_slant(SlantScore score, double widest, double penalty) {
  double best = 0;
  double best_score = score(0);
  const auto consider = [&](double degrees) {
    const double candidate = score(degrees) * (1.0 - penalty * std::fabs(degrees) / widest);
    if (candidate > best_score) {
      best = degrees;
      best_score = candidate;
    }
  };
  for (double degrees = 1; degrees <= widest; ++degrees) {
    consider(degrees);
    consider(-degrees);
  }
  const double coarse = best;
  consider(coarse - 0.5);
  consider(coarse + 0.5);
  return best * kDegree;
}

/// Points of a range along the lines, as [begin, end) of a sorted list.
struct Cell {
  double position;  // its middle is at (position + 1/2) kCellWidth
  std::size_t begin, end;
  double slope = 0;  // of the lines against the common slant
  double shift = 0;  // of the lines at its middle

  double middle() const { return (position + 0.5) * kCellWidth; }
  bool precedes(const Cell& next) const { return position + 1 == next.position; }
};

std::vector<Cell> cut_into_cells(const std::vector<LinePoint>& points) {
  std::vector<Cell> cells;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const double position = std::floor(points[i].along / kCellWidth);
    if (cells.empty() || cells.back().position != position) cells.push_back({position, i, i});
    cells.back().end = i + 1;
  }
  return cells;
}

/// Slopes from each cell and its neighbours.
void estimate_slopes(const std::vector<LinePoint>& points, std::vector<Cell>& cells) {
  std::vector<double> slopes(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const bool left = i > 0 && cells[i - 1].precedes(cells[i]);
    const bool right = i + 1 < cells.size() && cells[i].precedes(cells[i + 1]);
    const std::size_t begin = cells[i - left].begin;
    const std::size_t end = cells[i + right].end;
    Strips window{{points.begin() + begin, points.begin() + end}, {end - begin}};
    slopes[i] = std::tan(best_slant(SlantScore(std::move(window)), kMaxBow, kBowPenalty));
  }
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const bool left = i > 0 && cells[i - 1].precedes(cells[i]);
    const bool right = i + 1 < cells.size() && cells[i].precedes(cells[i + 1]);
    cells[i].slope = (slopes[i - left] + 2 * slopes[i] + slopes[i + right]) / 4;
  }
}

/// How far the lines have moved across at the middle of each cell: the sum of the slopes up to it.
/// Across a gap the lines are taken to run on at the common slant.
void add_up_slopes(std::vector<Cell>& cells) {
  for (std::size_t i = 1; i < cells.size(); ++i) {
    cells[i].shift = cells[i - 1].shift + 0.5 * kCellWidth * (cells[i - 1].slope + cells[i].slope);
  }
}

}  // namespace

double estimate_slant(const std::vector<LinePoint>& points) {
  if (points.size() < 2) return 0;
  return best_slant(SlantScore(cut_into_strips(points)), kMaxSlant, kSlantPenalty);
}

void remove_bow(std::vector<LinePoint>& points) {
  std::vector<Cell> cells = cut_into_cells(points);
  estimate_slopes(points, cells);
  add_up_slopes(cells);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const Cell& cell = cells[i];
    for (std::size_t p = cell.begin; p < cell.end; ++p) {
      const double run = points[p].along - cell.middle();
      const bool left = run < 0 && i > 0 && cells[i - 1].precedes(cell);
      const bool right = run > 0 && i + 1 < cells.size() && cell.precedes(cells[i + 1]);
      const double towards = cells[i - left + right].slope;
      const double slope = cell.slope + std::fabs(run) / kCellWidth * (towards - cell.slope);
      points[p].across -= cell.shift + 0.5 * run * (cell.slope + slope);
    }
  }
}

}  // namespace telvar::text
