// A host that links the types alone: records and exceptions work without the wrappers.

#include <TelvarTypes/TelvarTypes.h>

#include <string>

using namespace Orbalt::TelvarWrapper;

int main() {
  Types::SmartOCR::ProcessResult result;
  const Types::SmartOCR::ProcessResult copy = result;
  try {
    throw InvalidROIException("width 0");
  } catch (const TelvarException& failure) {
    return std::string(failure.what()) == "width 0" && copy.fieldingResult.patternName.empty() ? 0
                                                                                               : 1;
  }
}
