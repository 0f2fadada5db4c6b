#pragma once

#include <memory>
#include <string>

#include "segmenter/SegmenterModel.h"
#include "segmenter/SmartSegmenterWrapper.h"
#include "telvar_msg/segmentation.pb.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// What a segmenter keeps between calls, and its operations.
class SmartSegmenterWrapper::Impl {
 public:
  Impl(std::unique_ptr<Types::SmartSegmenter::Data> data,
       std::shared_ptr<TelvarSegmenterAccess> access);
  ~Impl();

  std::unique_ptr<Types::SmartSegmenter::Data> GetData() const;
  Types::SmartSegmenter::TrainingResult Train(const Types::SmartSegmenter::Dataset& dataset,
                                              const ImageLoader& imageLoader,
                                              const ImageLoader& maskLoader);
  Types::SmartSegmenter::ProcessResult Process(const std::shared_ptr<Types::Image>& image,
                                               const std::shared_ptr<Types::ROI>& roi);
  Types::SmartSegmenter::ProcessResults BatchProcess(const Types::CommonDataSet& dataset,
                                                     const ImageLoader& loader);

  /// The message for a training. Of two samples with one image identifier the later stays. Holds no
  /// state; fails only for want of memory.
  static telvar_msg::qv::segmentation::Dataset ConvertSegmenterDataset(
      const Types::SmartSegmenter::Dataset& dataset);

 private:
  /// Fills `message`, which must be empty.
  static void FillDataset(const Types::SmartSegmenter::Dataset& dataset,
                          telvar_msg::qv::segmentation::Dataset& message);

  std::unique_ptr<telvar::qv::segmenter::TrainCache> trainCache_;
  /// Kept as built; training sends fresh parameters.
  std::string trainingParameters_;
  std::shared_ptr<TelvarSegmenterAccess> access_;
  SegmenterModel model_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
