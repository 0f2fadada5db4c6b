#include "TelvarTypes/SmartSegmenter.h"

#include <utility>

#include "ValueOperations.h"

namespace Orbalt::TelvarWrapper::Types::SmartSegmenter {

TELVAR_TYPES_DEFINE_DATA(Data);
TELVAR_TYPES_DEFINE_RECORD(ProcessResult);
TELVAR_TYPES_DEFINE_RECORD(ProcessResults);
TELVAR_TYPES_DEFINE_RECORD(Sample);
TELVAR_TYPES_DEFINE_RECORD(Dataset);
TELVAR_TYPES_DEFINE_RECORD(TrainingResult);

ProcessResult::ProcessResult(std::map<std::string, std::shared_ptr<ResultImage>> images_by_name)
    : resultImages(std::move(images_by_name)) {}

ProcessResults::ProcessResults(std::unordered_map<std::string, ProcessResult> results_by_image)
    : results(std::move(results_by_image)) {}

Sample::Sample(std::string image_id, std::shared_ptr<ROI> region,
               std::unordered_map<std::string, std::string> masks_by_category)
    : imageId(std::move(image_id)),
      roi(std::move(region)),
      categoryMasks(std::move(masks_by_category)) {}

Dataset::Dataset(std::vector<std::string> category_names, std::vector<Sample> images)
    : categories(std::move(category_names)), samples(std::move(images)) {}

TrainingResult::TrainingResult(double score_value) : score(score_value) {}

}  // namespace Orbalt::TelvarWrapper::Types::SmartSegmenter
