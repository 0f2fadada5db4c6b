#pragma once

// Regions as the engine takes them: a transform and a size when an image is processed, a message
// inside a dataset. Both come from one formula and hold identical numbers.

#include <memory>

#include "TelvarTypes/ROI.h"
#include "telvar/image.h"
#include "telvar_msg/types.pb.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// Where to look in an image.
struct EngineRegion {
  telvar::types::AffineTransform transform;
  telvar::types::Size2<unsigned> size;
};

/// The region for processing. Null: identity and size (0, 0), the whole image.
EngineRegion ConvertToEngineRegion(const std::shared_ptr<Types::ROI>& roi);

/// The region for a dataset's sample. `roi` must not be null.
telvar_msg::types::RegionOfInterest ConvertROI(const std::shared_ptr<Types::ROI>& roi);

/// Sets every field of `message` to the same.
void FillRegion(const Types::ROI& roi, telvar_msg::types::RegionOfInterest& message);

}  // namespace Orbalt::TelvarWrapper::Wrapper
