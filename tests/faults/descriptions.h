#pragma once

// One line of text for everything that the tools answer, so that answers and states can be
// compared.

#include <TelvarTypes/TelvarTypes.h>

#include <memory>
#include <string>
#include <vector>

namespace faults {

namespace Types = Orbalt::TelvarWrapper::Types;

inline std::string Describe(const Types::SmartOCR::Sample& sample) {
  std::string text;
  if (sample.characters) {
    for (const auto& character : *sample.characters) {
      for (const auto& score : *character.categoryResults) text += score.categoryId + ",";
    }
  }
  if (sample.lines) {
    for (const auto& line : *sample.lines) text += line.text + std::to_string(line.indexes.size());
  }
  return text;
}
inline std::string Describe(const Types::SmartOCR::ProcessResult& result) {
  return "read " + Describe(result.sample) + " fielded " + Describe(result.fieldingResult.sample) +
         " by " + result.fieldingResult.patternName;
}
inline std::string Describe(const Types::SmartOCR::TrainResult& result) {
  std::string text = "trained " + std::to_string(result.resultValue);
  for (const auto& [id, scores] : *result.labeledSampleResults) {
    text += id + std::to_string(scores->size());
  }
  return text;
}
inline std::string Describe(const std::vector<std::vector<std::uint64_t>>& lines) {
  std::string text = "lines ";
  for (const auto& line : lines) text += std::to_string(line.size()) + ",";
  return text;
}
inline std::string Describe(const std::vector<Types::SmartClassifier::CategoryScore>& scores) {
  std::string text = "scores ";
  for (const auto& score : scores) text += score.categoryId + ",";
  return text;
}
inline std::string Describe(const Types::SmartClassifier::Result& result) {
  return Describe(result.scores);
}
inline std::string Describe(const Types::SmartSegmenter::ProcessResult& result) {
  std::string text = "images ";
  for (const auto& [name, image] : result.resultImages) {
    text += name + std::to_string(image->pixels.size()) + ",";
  }
  return text;
}
template <typename Samples>
std::string DescribeSamples(const Samples& samples) {
  std::string text;
  for (const auto& [key, result] : samples) text += key + ": " + Describe(result) + "; ";
  return text;
}
inline std::string Describe(const Types::SmartClassifier::SamplesResult& result) {
  return DescribeSamples(result.samples);
}
inline std::string Describe(const Types::SmartClassifier::TrainingResult& result) {
  return std::to_string(result.overallScore) + DescribeSamples(result.samples);
}
inline std::string Describe(const Types::SmartSegmenter::ProcessResults& result) {
  return DescribeSamples(result.results);
}
inline std::string Describe(const Types::SmartSegmenter::TrainingResult& result) {
  return "score " + std::to_string(result.score);
}
template <typename Data>
std::string Describe(const std::unique_ptr<Data>& data) {
  return data->artifact + " / " + data->trainCache;
}

/// A tool, by its state.
template <typename Tool>
std::string Describe(const std::shared_ptr<Tool>& tool) {
  return Describe(tool->GetData());
}

}  // namespace faults
