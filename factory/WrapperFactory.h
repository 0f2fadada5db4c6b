#pragma once

#include <memory>

#include "TelvarTypes/IWrapperFactory.h"

/// Makes wrappers that reach the engine through their own default access objects. Stateless.
class WrapperFactory final : public Orbalt::TelvarWrapper::Types::IWrapperFactory {
 public:
  std::shared_ptr<Orbalt::TelvarWrapper::Types::ISmartOCRWrapper> CreateSmartOCRWrapper(
      std::unique_ptr<Orbalt::TelvarWrapper::Types::SmartOCR::Data> data) override;

  std::shared_ptr<Orbalt::TelvarWrapper::Types::ISmartClassifierWrapper>
  CreateSmartClassifierWrapper(
      std::unique_ptr<Orbalt::TelvarWrapper::Types::SmartClassifier::Data> data) override;

  std::shared_ptr<Orbalt::TelvarWrapper::Types::ISmartSegmenterWrapper> CreateSmartSegmenterWrapper(
      std::unique_ptr<Orbalt::TelvarWrapper::Types::SmartSegmenter::Data> data) override;
};
