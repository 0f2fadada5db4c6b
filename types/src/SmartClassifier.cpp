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

Result::Result(std::vector<CategoryScore> category_scores) : scores(std::move(category_scores)) {}

SamplesResult::SamplesResult(
    std::unordered_map<std::string, std::vector<CategoryScore>> scores_by_key)
    : samples(std::move(scores_by_key)) {}

Sample::Sample(std::string image_id, std::string category_id)
    : imageId(std::move(image_id)), categoryId(std::move(category_id)) {}

Dataset::Dataset(std::vector<std::string> category_ids,
                 std::unordered_map<std::string, Sample> samples_by_key)
    : categories(std::move(category_ids)), samples(std::move(samples_by_key)) {}

TrainingResult::TrainingResult(
    double overall_score, std::unordered_map<std::string, std::vector<CategoryScore>> scores_by_key)
    : overallScore(overall_score), samples(std::move(scores_by_key)) {}

}  // namespace Orbalt::TelvarWrapper::Types::SmartClassifier
