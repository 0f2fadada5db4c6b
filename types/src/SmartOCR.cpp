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

CharacterCategoryResult::CharacterCategoryResult(std::string category_id, double score_value)
    : categoryId(std::move(category_id)), score(score_value) {}

Line::Line(std::string line_text, std::vector<int> character_indexes)
    : text(std::move(line_text)), indexes(std::move(character_indexes)) {}

BasicFielding::BasicFielding(std::string allowed_characters, std::int32_t character_count)
    : allowedCharacters(std::move(allowed_characters)), count(character_count) {}

TrainDataAssignment::TrainDataAssignment(double first_value, double second_value,
                                         std::string category_id)
    : firstValue(first_value), secondValue(second_value), categoryId(std::move(category_id)) {}

}  // namespace Orbalt::TelvarWrapper::Types::SmartOCR
