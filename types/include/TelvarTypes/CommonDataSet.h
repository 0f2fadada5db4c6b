#pragma once

// Batches of unlabelled images, for BatchProcess of the classifier and the segmenter.
//
//   CommonDataSet batch;
//   batch.samples["first"] = {"images/0001.png"};

#include <string>
#include <unordered_map>

#include "TelvarTypes/Export.h"

namespace Orbalt::TelvarWrapper::Types {

/// One image of a batch.
struct TELVAR_TYPES_API CommonSample {
  CommonSample();
  CommonSample(std::string imageId);
  TELVAR_TYPES_VALUE_OPERATIONS(CommonSample);

  /// What the image loader is asked for. Any bytes; need not be unique within a batch.
  std::string imageId;
};

/// A batch. Without samples it is valid and empty.
struct TELVAR_TYPES_API CommonDataSet {
  CommonDataSet();
  CommonDataSet(std::unordered_map<std::string, CommonSample> samples);
  TELVAR_TYPES_VALUE_OPERATIONS(CommonDataSet);

  /// The images by sample key. The key (any bytes) names the sample in classifier results; the
  /// segmenter names it by its image identifier. The order carries no meaning.
  std::unordered_map<std::string, CommonSample> samples;
};

}  // namespace Orbalt::TelvarWrapper::Types
