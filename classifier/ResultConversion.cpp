#include "classifier/SmartClassifierWrapperImpl.h"

namespace Orbalt::TelvarWrapper::Wrapper {

using Types::SmartClassifier::CategoryScore;

namespace {

std::vector<CategoryScore> ConvertScores(
    const telvar_msg::qv::classification::SampleResult& sample) {
  std::vector<CategoryScore> scores;
  scores.reserve(static_cast<std::size_t>(sample.scores_size()));
  for (const auto& score : sample.scores()) {
    scores.emplace_back(score.category_id(), score.score());
  }
  return scores;
}

}  // namespace

Types::SmartClassifier::Result SmartClassifierWrapper::Impl::ConvertClassifierTelvarResults(
    const telvar_msg::qv::classification::Result& result) {
  Types::SmartClassifier::Result converted;
  converted.scores = ConvertScores(result.sample());
  return converted;
}

Types::SmartClassifier::SamplesResult
SmartClassifierWrapper::Impl::ConvertClassifierTelvarProcessingResults(
    const telvar_msg::qv::classification::ProcessingResult& result) {
  Types::SmartClassifier::SamplesResult converted;
  for (const auto& [key, sample] : result.samples()) {
    converted.samples[key] = ConvertScores(sample);
  }
  return converted;
}

Types::SmartClassifier::TrainingResult
SmartClassifierWrapper::Impl::ConvertClassifierTelvarTrainingResults(
    const telvar_msg::qv::classification::TrainingResult& result) {
  Types::SmartClassifier::TrainingResult converted;
  converted.overallScore = result.overall_score();
  for (const auto& [key, sample] : result.samples()) {
    converted.samples[key] = ConvertScores(sample);
  }
  return converted;
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
