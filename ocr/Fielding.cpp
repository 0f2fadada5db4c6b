#include "TelvarTypes/Exceptions.h"
#include "ocr/SmartOCRWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

constexpr char kNoMatch[] = "No matching Fielding pattern was found";
constexpr char kInvalidPattern[] =
    "Invalid fielding pattern caused by empty lines or empty patterns";

}  // namespace

void SmartOCRWrapper::Impl::ConvertFielding(const Types::SmartOCR::BasicFielding& fielding,
                                            telvar_msg::qv::ocr::Fielding& message) {
  telvar_msg::qv::ocr::BasicFielding& basic = *message.mutable_basic_fielding();
  basic.set_count(fielding.count);
  basic.mutable_character_class()->set_allowed_characters(fielding.allowedCharacters);
}

// A fielding without patterns leaves the message empty, and the engine gets the empty message.
void SmartOCRWrapper::Impl::ConvertFielding(const Types::SmartOCR::AdvancedFielding& fielding,
                                            telvar_msg::qv::ocr::Fielding& message) {
  for (const auto& [name, lines] : fielding.patterns) {
    BuildPattern(lines, (*message.mutable_advanced_fielding()->mutable_patterns())[name]);
  }
}

void SmartOCRWrapper::Impl::BuildPattern(const std::vector<std::vector<std::string>>& lines,
                                         telvar_msg::qv::ocr::Pattern& pattern) {
  pattern.mutable_lines()->Reserve(static_cast<int>(lines.size()));
  for (const std::vector<std::string>& line : lines) {
    telvar_msg::qv::ocr::PatternLine& patternLine = *pattern.add_lines();
    patternLine.mutable_character_classes()->Reserve(static_cast<int>(line.size()));
    for (const std::string& allowed : line) {
      patternLine.add_character_classes()->set_allowed_characters(allowed);
    }
  }
}

Types::SmartOCR::FieldingResult SmartOCRWrapper::Impl::ApplyFielding(
    const telvar_msg::qv::ocr::Fielding& fielding,
    const telvar_msg::qv::ocr::SampleResult& sample) {
  Types::SmartOCR::FieldingResult result;
  try {
    const telvar::qv::ocr::Fielding engine(fielding.SerializeAsString());
    const auto [fieldedSample, verdict] = engine.apply(sample.SerializeAsString());

    const Answer<telvar_msg::qv::ocr::FieldingResult> verdictMessage(verdict);
    if (!verdictMessage->matched()) throw InvalidArgumentException(kNoMatch);
    result.patternName = verdictMessage->pattern_name();
    result.sample =
        ConvertTelvarOCRSample(*Answer<telvar_msg::qv::ocr::SampleResult>(fieldedSample));
  } catch (const InvalidArgumentException&) {
    throw;
  } catch (...) {
    // Whatever the engine refuses about a pattern has this one text, part of the interface: the
    // engine's own text is dropped on purpose.
    throw InvalidArgumentException(kInvalidPattern);
  }
  return result;
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
