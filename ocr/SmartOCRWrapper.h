#pragma once

#include <memory>

#include "TelvarTypes/ISmartOCRWrapper.h"
#include "bridge/TelvarAccess.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// The character reader. Everything is carried out by its Impl.
class SmartOCRWrapper final : public Types::ISmartOCRWrapper {
 public:
  class Impl;

  /// `data` must not be null; a null `access` stands for the engine itself.
  SmartOCRWrapper(std::unique_ptr<Types::SmartOCR::Data> data,
                  std::shared_ptr<TelvarAccess> access);
  ~SmartOCRWrapper();

  Types::SmartOCR::TrainResult Train(const Types::SmartOCR::Dataset& dataset,
                                     const ImageLoader& loadImage) override;
  Types::SmartOCR::ProcessResult Process(
      std::shared_ptr<Types::Image> image, const std::shared_ptr<Types::ROI>& roi,
      const Types::SmartOCR::Size& size,
      const Types::SmartOCR::AdvancedFielding& fielding) override;
  Types::SmartOCR::ProcessResult Process(std::shared_ptr<Types::Image> image,
                                         const std::shared_ptr<Types::ROI>& roi,
                                         const Types::SmartOCR::Size& size,
                                         const Types::SmartOCR::BasicFielding& fielding) override;
  Types::SmartOCR::ProcessResult Process(std::shared_ptr<Types::Image> image,
                                         const std::shared_ptr<Types::ROI>& roi,
                                         const Types::SmartOCR::Size& size) override;
  std::vector<std::vector<std::uint64_t>> SortCharacters(
      const std::vector<std::pair<float, float>>& points, float height) override;
  std::unique_ptr<Types::SmartOCR::Data> GetData() const override;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper
