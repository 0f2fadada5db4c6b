#include "app/region.h"

#include <cmath>

#include "app/errors.h"
#include "app/text.h"

namespace telvar_host {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr unsigned kLargestExtent = 65535;
constexpr double kLargestValue = 1e6;  // positions in pixels and angles in degrees

double radians(double degrees) {
  return degrees * kPi / 180.0;
}

unsigned extent(double value, const std::string& text) {
  if (value < 1 || value > kLargestExtent || value != std::floor(value)) {
    throw usage_error("--roi " + text + ": width and height must be whole numbers from 1 to 65535");
  }
  return static_cast<unsigned>(value);
}

}  // namespace

std::pair<double, double> Region::to_image(double u, double v) const {
  const double first = radians(angle_deg);
  const double second = radians(angle_deg + skew_deg);
  return {x + std::cos(first) * u - std::sin(second) * v,
          y + std::sin(first) * u + std::cos(second) * v};
}

std::pair<double, double> Region::to_region(double image_x, double image_y) const {
  const double first = radians(angle_deg);
  const double second = radians(angle_deg + skew_deg);
  const double dx = image_x - x;
  const double dy = image_y - y;
  const double determinant = std::cos(radians(skew_deg));
  return {(std::cos(second) * dx + std::sin(second) * dy) / determinant,
          (-std::sin(first) * dx + std::cos(first) * dy) / determinant};
}

Region parse_region(const std::string& text) {
  const auto parts = split(text, ',');
  if (parts.size() != 6) {
    throw usage_error("--roi " + text + ": expected six numbers x,y,angle_deg,skew_deg,w,h");
  }
  double values[6];
  for (std::size_t i = 0; i < 6; ++i) {
    const auto value = parse_number(trimmed(parts[i]));
    if (!value || std::abs(*value) > kLargestValue) {
      throw usage_error("--roi " + text + ": '" + parts[i] + "' is no number up to 1e6");
    }
    values[i] = *value;
  }
  const Region region{
      values[0], values[1], values[2], values[3], extent(values[4], text), extent(values[5], text)};
  if (std::abs(std::cos(radians(region.skew_deg))) < 1e-3) {
    throw usage_error("--roi " + text + ": the skew makes the two axes parallel");
  }
  return region;
}

void require_valid(const Region& region, const std::string& where) {
  for (const double value : {region.x, region.y, region.angle_deg, region.skew_deg}) {
    if (!(std::abs(value) <= kLargestValue)) {
      throw data_error(where + ": the region holds a value beyond 1e6");
    }
  }
  if (region.width < 1 || region.height < 1 || region.width > kLargestExtent ||
      region.height > kLargestExtent) {
    throw data_error(where + ": the region is " + std::to_string(region.width) + " x " +
                     std::to_string(region.height) + "; 1 to 65535 are allowed");
  }
  if (std::abs(std::cos(radians(region.skew_deg))) < 1e-3) {
    throw data_error(where + ": the region's skew makes the two axes parallel");
  }
}

}  // namespace telvar_host
