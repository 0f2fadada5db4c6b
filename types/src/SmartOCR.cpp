#include "TelvarTypes/SmartOCR.h"

#include <utility>

#include "ValueOperations.h"

namespace Orbalt::TelvarWrapper::Types::SmartOCR {

TELVAR_TYPES_DEFINE_DATA(Data);
TELVAR_TYPES_DEFINE_RECORD(Size);
TELVAR_TYPES_DEFINE_RECORD(ProcessResult);

TELVAR_TYPES_DEFINE_RECORD(CharacterCategoryResult);
TELVAR_TYPES_DEFINE_RECORD(CharacterResult);
TELVAR_TYPES_DEFINE_RECORD(Line);
TELVAR_TYPES_DEFINE_RECORD(Sample);

TELVAR_TYPES_DEFINE_RECORD(BasicFielding);
TELVAR_TYPES_DEFINE_RECORD(AdvancedFielding);
TELVAR_TYPES_DEFINE_RECORD(FieldingResult);

TELVAR_TYPES_DEFINE_RECORD(TrainDataAssignment);
TELVAR_TYPES_DEFINE_RECORD(TrainData);
TELVAR_TYPES_DEFINE_RECORD(Dataset);
TELVAR_TYPES_DEFINE_RECORD(TrainResult);

Size::Size(float width_value, float height_value) : width(width_value), height(height_value) {}

ProcessResult::ProcessResult(double processing_time, Sample read_sample,
                             FieldingResult fielding_result)
    : processingTime(processing_time),
      sample(std::move(read_sample)),
      fieldingResult(std::move(fielding_result)) {}

CharacterCategoryResult::CharacterCategoryResult(std::string category_id, double score_value)
    : categoryId(std::move(category_id)), score(score_value) {}

CharacterResult::CharacterResult(
    double first_value, double second_value, double third_value,
    std::shared_ptr<std::vector<CharacterCategoryResult>> category_results)
    : firstValue(first_value),
      secondValue(second_value),
      thirdValue(third_value),
      categoryResults(std::move(category_results)) {}

Line::Line(std::string line_text, std::vector<int> character_indexes)
    : text(std::move(line_text)), indexes(std::move(character_indexes)) {}

Sample::Sample(double first_value, double second_value,
               std::shared_ptr<std::vector<CharacterResult>> read_characters,
               std::shared_ptr<std::vector<Line>> read_lines)
    : firstValue(first_value),
      secondValue(second_value),
      characters(std::move(read_characters)),
      lines(std::move(read_lines)) {}

BasicFielding::BasicFielding(std::string allowed_characters, std::int32_t character_count)
    : allowedCharacters(std::move(allowed_characters)), count(character_count) {}

AdvancedFielding::AdvancedFielding(
    std::unordered_map<std::string, std::vector<std::vector<std::string>>> lines_by_name)
    : patterns(std::move(lines_by_name)) {}

FieldingResult::FieldingResult(Sample fielded_sample, std::string pattern_name)
    : sample(std::move(fielded_sample)), patternName(std::move(pattern_name)) {}

TrainDataAssignment::TrainDataAssignment(double first_value, double second_value,
                                         std::string category_id)
    : firstValue(first_value), secondValue(second_value), categoryId(std::move(category_id)) {}

TrainData::TrainData(std::vector<TrainDataAssignment> labels, std::string image_id,
                     std::shared_ptr<ROI> region)
    : assignments(std::move(labels)), imageId(std::move(image_id)), roi(std::move(region)) {}

Dataset::Dataset(double width_value, double height_value, std::vector<TrainData> images)
    : width(width_value), height(height_value), trainData(std::move(images)) {}

TrainResult::TrainResult(
    double training_time, double result_value,
    std::shared_ptr<std::map<std::string, std::shared_ptr<std::vector<float>>>> label_scores)
    : trainingTime(training_time),
      resultValue(result_value),
      labeledSampleResults(std::move(label_scores)) {}

}  // namespace Orbalt::TelvarWrapper::Types::SmartOCR
