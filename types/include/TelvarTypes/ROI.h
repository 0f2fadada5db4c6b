#pragma once

#include <cstdint>

#include "TelvarTypes/Export.h"

namespace Orbalt::TelvarWrapper::Types {

/// A region of interest: a rotated and skewed rectangle in image pixels, pixel centres at integers,
/// x to the right, y down. Wherever a region may be given, a null pointer means the whole image.
///
/// The region has a pixel grid of its own of `width` x `height`; what a tool finds in it is
/// reported in these region pixels. Region pixel (u, v) lies in the image at
///   ( cos(angle) u - sin(angle + skew) v + x,
///     sin(angle) u + cos(angle + skew) v + y ),
/// computed in single precision. Nothing is checked here; a region that the engine cannot use makes
/// the call fail with InvalidROIException. The embedded engine takes a default-constructed region
/// (0 x 0 at the origin, not turned) for the whole image, too, and refuses every other one without
/// extent.
struct TELVAR_TYPES_API ROI {
  /// 0 x 0 at the origin, not turned.
  ROI();
  ROI(float x, float y = 0.0F, float angle = 0.0F, float skew = 0.0F, std::uint32_t width = 0,
      std::uint32_t height = 0);
  TELVAR_TYPES_VALUE_OPERATIONS(ROI);

  /// Horizontal position of region pixel (0, 0), image pixels.
  float x = 0.0F;

  /// Vertical position of region pixel (0, 0), image pixels.
  float y = 0.0F;

  /// Direction of the first axis, radians; positive turns from +x towards +y.
  float angle = 0.0F;

  /// How much further than a quarter turn the second axis is turned from the first, radians.
  /// 0: a plain rotated rectangle.
  float skew = 0.0F;

  /// Extent along the first axis, region pixels.
  std::uint32_t width = 0;

  /// Extent along the second axis, region pixels.
  std::uint32_t height = 0;
};

}  // namespace Orbalt::TelvarWrapper::Types
