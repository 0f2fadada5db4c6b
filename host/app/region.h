// A region of interest as the command line and the label files give it.
#pragma once

#include <string>
#include <utility>

namespace telvar_host {

// Origin in image pixels, angles in degrees, extent in region pixels. Pixel centres lie at
// integers. The first axis points at `angle`, the second at `angle + skew + 90`.
struct Region {
  double x = 0;
  double y = 0;
  double angle_deg = 0;
  double skew_deg = 0;
  unsigned width = 0;
  unsigned height = 0;

  std::pair<double, double> to_image(double u, double v) const;
  // Inverse of `to_image`; the skew must not make the axes parallel (see parse_region).
  std::pair<double, double> to_region(double x, double y) const;
};

// "x,y,angle_deg,skew_deg,w,h". Throws usage_error naming the value that is wrong.
Region parse_region(const std::string& text);

// Throws data_error "WHERE: ..." for non-finite values, an empty or oversized extent, parallel
// axes.
void require_valid(const Region& region, const std::string& where);

}  // namespace telvar_host
