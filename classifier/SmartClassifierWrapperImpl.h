#pragma once

#include <memory>
#include <string>
#include <utility>

#include "classifier/ClassifierModel.h"
#include "classifier/SmartClassifierWrapper.h"
#include "telvar_msg/classification.pb.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// What a classifier keeps between calls, and its operations. The static ones hold no state, may be
/// used from any thread and fail only for want of memory.
class SmartClassifierWrapper::Impl {
 public:
  Impl(std::unique_ptr<Types::SmartClassifier::Data> data,
       std::shared_ptr<TelvarClassifierAccess> access);
  ~Impl();

  std::unique_ptr<Types::SmartClassifier::Data> GetData() const;
  Types::SmartClassifier::TrainingResult Train(const Types::SmartClassifier::Dataset& dataset,
                                               const ImageLoader& loader);
  Types::SmartClassifier::Result Process(const std::shared_ptr<Types::Image>& image);
  Types::SmartClassifier::SamplesResult BatchProcess(const Types::CommonDataSet& dataset,
                                                     const ImageLoader& loader);

 private:
  // Data sets (DatasetConversion.cpp).
  /// Fills `message`, which must be empty.
  static void FillDataset(const Types::SmartClassifier::Dataset& dataset,
                          telvar_msg::qv::classification::Dataset& message);
  /// Adds one sample and its category; a later sample under the same key replaces an earlier one.
  static void AddClassifierSample(telvar_msg::qv::classification::Dataset& dataset,
                                  std::pair<std::string, Types::SmartClassifier::Sample> entry);

  // Results (ResultConversion.cpp).
  static Types::SmartClassifier::Result ConvertClassifierTelvarResults(
      const telvar_msg::qv::classification::Result& result);
  static Types::SmartClassifier::SamplesResult ConvertClassifierTelvarProcessingResults(
      const telvar_msg::qv::classification::ProcessingResult& result);
  static Types::SmartClassifier::TrainingResult ConvertClassifierTelvarTrainingResults(
      const telvar_msg::qv::classification::TrainingResult& result);

  std::unique_ptr<telvar::qv::classifier::TrainCache> trainCache_;
  std::string trainingParameters_;
  std::shared_ptr<TelvarClassifierAccess> access_;
  ClassifierModel model_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
