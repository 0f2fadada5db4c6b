#include "TelvarTypes/SmartSegmenter.h"

#include "ValueOperations.h"

namespace Orbalt::TelvarWrapper::Types::SmartSegmenter {

TELVAR_TYPES_DEFINE_DATA(Data);
TELVAR_TYPES_DEFINE_RECORD(ProcessResult);
TELVAR_TYPES_DEFINE_RECORD(ProcessResults);
TELVAR_TYPES_DEFINE_RECORD(Sample);
TELVAR_TYPES_DEFINE_RECORD(Dataset);
TELVAR_TYPES_DEFINE_RECORD(TrainingResult);

}  // namespace Orbalt::TelvarWrapper::Types::SmartSegmenter
