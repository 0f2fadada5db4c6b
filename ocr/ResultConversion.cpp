#include <google/protobuf/util/time_util.h>

#include "ocr/SmartOCRWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

using google::protobuf::util::TimeUtil;
using namespace Types::SmartOCR;

namespace {

std::vector<CharacterCategoryResult> ConvertCategoryScores(
    const telvar_msg::qv::ocr::CharacterResult& character) {
  std::vector<CharacterCategoryResult> scores;
  scores.reserve(static_cast<std::size_t>(character.category_scores_size()));
  for (const auto& score : character.category_scores()) {
    scores.emplace_back(score.category_id(), score.score());
  }
  return scores;
}

CharacterResult ConvertCharacter(const telvar_msg::qv::ocr::CharacterResult& message) {
  CharacterResult character;
  character.firstValue = message.first_value();
  character.secondValue = message.second_value();
  character.thirdValue = message.third_value();
  character.categoryResults =
      std::make_shared<std::vector<CharacterCategoryResult>>(ConvertCategoryScores(message));
  return character;
}

}  // namespace

ProcessResult SmartOCRWrapper::Impl::ConvertTelvarOCRResults(
    const telvar_msg::qv::ocr::Result& result) {
  ProcessResult converted;
  converted.sample = ConvertTelvarOCRSample(result.sample());
  converted.processingTime =
      static_cast<double>(TimeUtil::DurationToMilliseconds(result.processing_time()));
  return converted;
}

Sample SmartOCRWrapper::Impl::ConvertTelvarOCRSample(
    const telvar_msg::qv::ocr::SampleResult& sample) {
  std::vector<CharacterResult> characters = ConvertTelvarOCRCharacterResults(sample);
  std::vector<Line> lines = ConvertTelvarOCRLines(sample);
  Sample converted;
  converted.firstValue = sample.first_value();
  converted.secondValue = sample.second_value();
  converted.characters = std::make_shared<std::vector<CharacterResult>>(std::move(characters));
  converted.lines = std::make_shared<std::vector<Line>>(std::move(lines));
  return converted;
}

std::vector<Line> SmartOCRWrapper::Impl::ConvertTelvarOCRLines(
    const telvar_msg::qv::ocr::SampleResult& sample) {
  std::vector<Line> lines;
  lines.reserve(static_cast<std::size_t>(sample.lines_size()));
  for (const auto& line : sample.lines()) {
    lines.emplace_back(line.text(), std::vector<int>(line.indexes().begin(), line.indexes().end()));
  }
  return lines;
}

std::vector<CharacterResult> SmartOCRWrapper::Impl::ConvertTelvarOCRCharacterResults(
    const telvar_msg::qv::ocr::SampleResult& sample) {
  std::vector<CharacterResult> characters;
  characters.reserve(static_cast<std::size_t>(sample.characters_size()));
  for (const auto& character : sample.characters()) {
    characters.push_back(ConvertCharacter(character));
  }
  return characters;
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
