#include "report/charts.h"

#include <algorithm>

#include "app/text.h"

namespace telvar_host {
namespace {

constexpr double kWidth = 480, kHeight = 250, kLeft = 52, kRight = 14, kTop = 12, kBottom = 44;

double along(double value, const Axis& axis) {
  return std::clamp((value - axis.from) / (axis.to - axis.from), 0.0, 1.0);
}
double x_of(double value, const Axis& axis) {
  return kLeft + along(value, axis) * (kWidth - kLeft - kRight);
}
double y_of(double value, const Axis& axis) {
  return kHeight - kBottom - along(value, axis) * (kHeight - kTop - kBottom);
}

std::string line(double x1, double y1, double x2, double y2, const std::string& css) {
  return "<line class=\"" + css + "\" x1=\"" + fixed(x1, 1) + "\" y1=\"" + fixed(y1, 1) +
         "\" x2=\"" + fixed(x2, 1) + "\" y2=\"" + fixed(y2, 1) + "\"/>";
}

std::string label(double x, double y, const std::string& anchor, const std::string& text) {
  return "<text x=\"" + fixed(x, 1) + "\" y=\"" + fixed(y, 1) + "\" text-anchor=\"" + anchor +
         "\">" + html_escaped(text) + "</text>";
}

std::string grid(const Axis& x, const Axis& y) {
  constexpr int kTicks = 5;
  std::string svg;
  for (int i = 0; i <= kTicks; ++i) {
    const double xv = x.from + (x.to - x.from) * i / kTicks;
    const double yv = y.from + (y.to - y.from) * i / kTicks;
    svg += line(x_of(xv, x), kTop, x_of(xv, x), kHeight - kBottom, "axis");
    svg += line(kLeft, y_of(yv, y), kWidth - kRight, y_of(yv, y), "axis");
    svg += label(x_of(xv, x), kHeight - kBottom + 17, "middle", fixed(xv, x.digits));
    svg += label(kLeft - 7, y_of(yv, y) + 4, "end", fixed(yv, y.digits));
  }
  return svg + label((kLeft + kWidth - kRight) / 2, kHeight - 8, "middle", x.label);
}

}  // namespace

std::string curve_html(const Curve& curve, const Axis& x, const Axis& y,
                       std::optional<double> mark) {
  std::string points;
  // More points than pixels only make the page large.
  const std::size_t step = std::max<std::size_t>(1, curve.size() / 400);
  for (std::size_t i = 0; i < curve.size(); ++i) {
    if (i % step != 0 && i + 1 != curve.size()) continue;
    points += fixed(x_of(curve[i].first, x), 1) + "," + fixed(y_of(curve[i].second, y), 1) + " ";
  }
  std::string svg = "<svg role=\"img\" aria-label=\"" + html_escaped(y.label + " over " + x.label) +
                    "\" viewBox=\"0 0 480 250\" width=\"480\" height=\"250\">" + grid(x, y);
  if (mark) svg += line(x_of(*mark, x), kTop, x_of(*mark, x), kHeight - kBottom, "mark");
  return svg + "<polyline class=\"curve\" points=\"" + points + "\"/></svg>\n";
}

double lower_bound_for(const Curve& curve) {
  double lowest = 1;
  for (const auto& point : curve) lowest = std::min(lowest, point.second);
  for (const double bound : {0.9, 0.8, 0.5}) {
    if (lowest >= bound) return bound;
  }
  return 0;
}

std::string bars_html(const std::vector<Bar>& bars) {
  std::string html = "<table class=\"bars\">";
  for (const auto& bar : bars) {
    const auto colour = bar.colour.empty() ? std::string() : "background:" + bar.colour + ";";
    html += "<tr><td>" + html_escaped(bar.label) + "</td><td><div class=\"bar\" style=\"" + colour +
            "width:" + fixed(100 * std::clamp(bar.share, 0.0, 1.0), 1) + "%\"></div></td><td>" +
            html_escaped(bar.value) + "</td></tr>\n";
  }
  return html + "</table>\n";
}

}  // namespace telvar_host
