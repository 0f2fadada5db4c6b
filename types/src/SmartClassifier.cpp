#include "TelvarTypes/SmartClassifier.h"

#include <utility>

#include "ValueOperations.h"

namespace Orbalt::TelvarWrapper::Types::SmartClassifier {

TELVAR_TYPES_DEFINE_DATA(Data);
TELVAR_TYPES_DEFINE_RECORD(CategoryScore);
TELVAR_TYPES_DEFINE_RECORD(Result);
TELVAR_TYPES_DEFINE_RECORD(SamplesResult);
TELVAR_TYPES_DEFINE_RECORD(Sample);
TELVAR_TYPES_DEFINE_RECORD(Dataset);
TELVAR_TYPES_DEFINE_RECORD(TrainingResult);

CategoryScore::CategoryScore(std::string category_id, double score_value)
    : categoryId(std::move(category_id)), score(score_value) {}

Sample::Sample(std::string image_id, std::string category_id)
    : imageId(std::move(image_id)), categoryId(std::move(category_id)) {}

}  // namespace Orbalt::TelvarWrapper::Types::SmartClassifier
