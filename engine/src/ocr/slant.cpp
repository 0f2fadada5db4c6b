#include "ocr/slant.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace telvar::ocr {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;

// Pairs are counted within strips of this width: far enough apart to tell half a degree, near
// enough that a bowed line or a wide page does not blur the count.
constexpr double kStripWidth = 16.0;

// Two points speak for one line when they are this near across it; the inner distance counts again.
constexpr double kOuterDistance = 0.3;
constexpr double kInnerDistance = 0.15;

// What the widest slant must gain over none to be believed.
constexpr double kSlantPenalty = 0.1;

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

class SlantScore {
 public:
  explicit SlantScore(const std::vector<LinePoint>& points)
      : strips_(cut_into_strips(points)), across_(points.size()) {}

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
    return pairs * (1.0 - kSlantPenalty * std::fabs(degrees) / kMaxSlant);
  }

 private:
  Strips strips_;
  std::vector<double> across_;
};

}  // namespace

double estimate_slant(const std::vector<LinePoint>& points) {
  if (points.size() < 2) return 0;
  SlantScore score(points);
  double best = 0;
  double best_score = score(0);
  const auto consider = [&](double degrees) {
    const double candidate = score(degrees);
    if (candidate > best_score) {
      best = degrees;
      best_score = candidate;
    }
  };
  for (double degrees = 1; degrees <= kMaxSlant; ++degrees) {
    consider(degrees);
    consider(-degrees);
  }
  const double coarse = best;
  consider(coarse - 0.5);
  consider(coarse + 0.5);
  return best * kDegree;
}

}  // namespace telvar::ocr
