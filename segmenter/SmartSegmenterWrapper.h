#pragma once

#include <memory>

#include "TelvarTypes/ISmartSegmenterWrapper.h"
#include "bridge/TelvarSegmenterAccess.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// The pixel segmenter. Everything is carried out by its Impl.
class SmartSegmenterWrapper final : public Types::ISmartSegmenterWrapper {
 public:
  class Impl;

  /// `data` must not be null; a null `access` stands for the engine itself.
  SmartSegmenterWrapper(std::unique_ptr<Types::SmartSegmenter::Data> data,
                        std::shared_ptr<TelvarSegmenterAccess> access);
  ~SmartSegmenterWrapper();

  std::unique_ptr<Types::SmartSegmenter::Data> GetData() const override;
  Types::SmartSegmenter::TrainingResult Train(const Types::SmartSegmenter::Dataset& dataset,
                                              const ImageLoader& loadImage,
                                              const ImageLoader& loadMask) override;
  Types::SmartSegmenter::ProcessResult Process(const std::shared_ptr<Types::Image>& image,
                                               const std::shared_ptr<Types::ROI>& roi) override;
  Types::SmartSegmenter::ProcessResults BatchProcess(const Types::CommonDataSet& dataset,
                                                     const ImageLoader& loadImage) override;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
