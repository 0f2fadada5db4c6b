#include "bridge/RegionConversion.h"

#include <cmath>

#include "telvar_numeric/default_mode.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

/// The first column is the unit vector at `angle`, the second the unit vector at `angle + skew`
/// turned by a quarter, the third the region's origin. All is computed in single precision and in
/// the default rounding, whatever the host's thread has set; an unturned region keeps its -0.
telvar::types::AffineTransform RegionTransform(const Types::ROI& roi) {
  const telvar::numeric::DefaultMode mode;
  const float s = roi.angle + roi.skew;
  return telvar::types::AffineTransform(std::cos(roi.angle), -std::sin(s), roi.x,
                                        std::sin(roi.angle), std::cos(s), roi.y);
}

}  // namespace

EngineRegion ConvertToEngineRegion(const std::shared_ptr<Types::ROI>& roi) {
  if (!roi) return {telvar::types::AffineTransform(1, 0, 0, 0, 1, 0), {0, 0}};
  return {RegionTransform(*roi), {roi->width, roi->height}};
}

telvar_msg::types::RegionOfInterest ConvertROI(const std::shared_ptr<Types::ROI>& roi) {
  telvar_msg::types::RegionOfInterest message;
  FillRegion(*roi, message);
  return message;
}

void FillRegion(const Types::ROI& roi, telvar_msg::types::RegionOfInterest& message) {
  const telvar::types::AffineTransform transform = RegionTransform(roi);
  telvar_msg::types::AffineTransform& matrix = *message.mutable_affine_transform();
  matrix.set_m00(transform.a);
  matrix.set_m01(transform.b);
  matrix.set_m10(transform.d);
  matrix.set_m11(transform.e);
  matrix.set_tx(transform.c);
  matrix.set_ty(transform.f);
  message.set_width(roi.width);
  message.set_height(roi.height);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
