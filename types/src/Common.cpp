#include <utility>

#include "TelvarTypes/CommonDataSet.h"
#include "TelvarTypes/ROI.h"
#include "ValueOperations.h"

namespace Orbalt::TelvarWrapper::Types {

TELVAR_TYPES_DEFINE_RECORD(ROI);
TELVAR_TYPES_DEFINE_RECORD(CommonSample);
TELVAR_TYPES_DEFINE_RECORD(CommonDataSet);

ROI::ROI(float x_value, float y_value, float angle_value, float skew_value,
         std::uint32_t width_value, std::uint32_t height_value)
    : x(x_value),
      y(y_value),
      angle(angle_value),
      skew(skew_value),
      width(width_value),
      height(height_value) {}

CommonSample::CommonSample(std::string image_id) : imageId(std::move(image_id)) {}

CommonDataSet::CommonDataSet(std::unordered_map<std::string, CommonSample> samples_by_key)
    : samples(std::move(samples_by_key)) {}

}  // namespace Orbalt::TelvarWrapper::Types
