#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bridge/Messages.h"
#include "ocr/Model.h"
#include "ocr/SmartOCRWrapper.h"
#include "telvar_msg/ocr_fielding.pb.h"
#include "telvar_msg/ocr_result.pb.h"
#include "telvar_msg/ocr_training.pb.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// What a character reader keeps between calls, and its operations. The static ones hold no state
/// and may be used from any thread; they fail only for want of memory, except ApplyFielding.
class SmartOCRWrapper::Impl {
 public:
  Impl(std::unique_ptr<Types::SmartOCR::Data> data, std::shared_ptr<TelvarAccess> access);
  ~Impl();

  Types::SmartOCR::TrainResult Train(const Types::SmartOCR::Dataset& dataset,
                                     const ImageLoader& loadImage);
  Types::SmartOCR::ProcessResult Process(const std::shared_ptr<Types::Image>& image,
                                         const std::shared_ptr<Types::ROI>& roi,
                                         const Types::SmartOCR::Size& size);
  Types::SmartOCR::ProcessResult Process(const std::shared_ptr<Types::Image>& image,
                                         const std::shared_ptr<Types::ROI>& roi,
                                         const Types::SmartOCR::Size& size,
                                         const Types::SmartOCR::BasicFielding& fielding);
  Types::SmartOCR::ProcessResult Process(const std::shared_ptr<Types::Image>& image,
                                         const std::shared_ptr<Types::ROI>& roi,
                                         const Types::SmartOCR::Size& size,
                                         const Types::SmartOCR::AdvancedFielding& fielding);
  std::vector<std::vector<std::uint64_t>> SortCharacters(
      const std::vector<std::pair<float, float>>& points, float height) const;
  std::unique_ptr<Types::SmartOCR::Data> GetData() const;

  // Results (ResultConversion.cpp).
  static Types::SmartOCR::ProcessResult ConvertTelvarOCRResults(
      const telvar_msg::qv::ocr::Result& result);
  static Types::SmartOCR::Sample ConvertTelvarOCRSample(
      const telvar_msg::qv::ocr::SampleResult& sample);
  static std::vector<Types::SmartOCR::Line> ConvertTelvarOCRLines(
      const telvar_msg::qv::ocr::SampleResult& sample);
  static std::vector<Types::SmartOCR::CharacterResult> ConvertTelvarOCRCharacterResults(
      const telvar_msg::qv::ocr::SampleResult& sample);

  // Training (TrainingConversion.cpp).
  /// Images without labels are left out.
  static telvar_msg::qv::ocr::Dataset ConvertOCRDataset(const Types::SmartOCR::Dataset& dataset);
  /// Adds one image, with or without labels; a later one replaces an earlier one.
  static void AddSample(telvar_msg::qv::ocr::Dataset& dataset,
                        const Types::SmartOCR::TrainData& data);
  static Types::SmartOCR::TrainResult ConvertTelvarOCRTrainingResult(
      const telvar_msg::qv::ocr::TrainingResult& result);

 private:
  using ReadAnswer = Answer<telvar_msg::qv::ocr::Result>;
  using FieldingMessage = telvar_msg::ArenaMessage<telvar_msg::qv::ocr::Fielding>;

  /// The guarded engine run: the answer as the engine gave it, unconverted.
  ReadAnswer ProcessInternal(const std::shared_ptr<Types::Image>& image,
                             const std::shared_ptr<Types::ROI>& roi,
                             const Types::SmartOCR::Size& size);

  // Fielding (Fielding.cpp). The conversions fill `message`, which must be empty.
  static void ConvertFielding(const Types::SmartOCR::BasicFielding& fielding,
                              telvar_msg::qv::ocr::Fielding& message);
  static void ConvertFielding(const Types::SmartOCR::AdvancedFielding& fielding,
                              telvar_msg::qv::ocr::Fielding& message);
  static void BuildPattern(const std::vector<std::vector<std::string>>& lines,
                           telvar_msg::qv::ocr::Pattern& pattern);

  /// Matches a recognised sample. Every failure leaves as InvalidArgumentException with one of two
  /// texts.
  static Types::SmartOCR::FieldingResult ApplyFielding(
      const telvar_msg::qv::ocr::Fielding& fielding,
      const telvar_msg::qv::ocr::SampleResult& sample);

  /// The data set's size, rounded to single precision.
  static Types::SmartOCR::Size NominalSize(const Types::SmartOCR::Dataset& dataset);
  /// Fills `message`, which must be empty.
  static void FillDataset(const Types::SmartOCR::Dataset& dataset,
                          telvar_msg::qv::ocr::Dataset& message);

  std::unique_ptr<telvar::qv::ocr::TrainCache> trainCache_;
  std::string trainingParameters_;
  std::shared_ptr<TelvarAccess> access_;
  Model model_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
