// Curves and bars as inline SVG and HTML.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace telvar_host {

struct Axis {
  std::string label;
  double from = 0;
  double to = 1;
  int digits = 2;  // decimals of the tick labels
};

using Curve = std::vector<std::pair<double, double>>;

// One curve; `mark` is a dashed vertical line at that x. Points outside the axes are clipped to
// them.
std::string curve_html(const Curve& curve, const Axis& x, const Axis& y,
                       std::optional<double> mark = {});

// The lowest tick below every point of the curve: 0, 0.5, 0.8 or 0.9, so that near-perfect curves
// show.
double lower_bound_for(const Curve& curve);

struct Bar {
  std::string label;
  double share = 0;  // 0..1
  std::string value;
  std::string colour;  // CSS; empty: the accent
};
std::string bars_html(const std::vector<Bar>& bars);

}  // namespace telvar_host
