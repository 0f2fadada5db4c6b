#pragma once

#include <memory>

#include "TelvarTypes/ISmartClassifierWrapper.h"
#include "bridge/TelvarClassifierAccess.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// The image classifier. Everything is carried out by its Impl.
class SmartClassifierWrapper final : public Types::ISmartClassifierWrapper {
 public:
  class Impl;

  /// `data` must not be null; a null `access` stands for the engine itself.
  SmartClassifierWrapper(std::unique_ptr<Types::SmartClassifier::Data> data,
                         std::shared_ptr<TelvarClassifierAccess> access);
  ~SmartClassifierWrapper();

  std::unique_ptr<Types::SmartClassifier::Data> GetData() const override;
  Types::SmartClassifier::TrainingResult Train(const Types::SmartClassifier::Dataset& dataset,
                                               const ImageLoader& loadImage) override;
  Types::SmartClassifier::Result Process(std::shared_ptr<Types::Image> image) override;
  Types::SmartClassifier::SamplesResult BatchProcess(const Types::CommonDataSet& dataset,
                                                     const ImageLoader& loadImage) override;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
