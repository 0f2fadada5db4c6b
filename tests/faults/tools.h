#pragma once

// The three tools over the scripted engine, and one line of text for everything they answer, so
// that two answers or states can be compared.

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "scripted_engine/script.h"
#include "telvar_msg/classification.pb.h"
#include "telvar_msg/ocr_fielding.pb.h"
#include "telvar_msg/ocr_result.pb.h"
#include "telvar_msg/ocr_training.pb.h"
#include "telvar_msg/segmentation.pb.h"

namespace faults {

using namespace Orbalt::TelvarWrapper;
namespace engine = scripted_engine;

// Too long for a string to keep without an allocation.
inline const std::string kArtifact = "an artifact long enough to be allocated";
inline const std::string kNewArtifact = "another artifact long enough to be allocated";
inline const std::string kCache = engine::saved_cache("contents long enough to be allocated");
inline const std::string kNewCache = kCache + ", and what a run added to them";
inline const std::string kId = "an identifier long enough to be allocated";
inline const std::string kOtherId = "some other identifier, also long enough";

inline std::shared_ptr<Types::Image> HostImage(const std::string& = "") {
  return Types::MakeImage({4, 2, 6, 1, 8, 0}, std::vector<unsigned char>(12, 128));
}

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

inline std::shared_ptr<Types::IWrapperFactory> NewFactory() {
  std::shared_ptr<Types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  return factory;
}

}  // namespace faults
