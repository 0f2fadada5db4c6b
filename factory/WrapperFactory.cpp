#include "factory/WrapperFactory.h"

#include <utility>

#include "classifier/SmartClassifierWrapper.h"
#include "ocr/SmartOCRWrapper.h"
#include "segmenter/SmartSegmenterWrapper.h"

namespace Types = Orbalt::TelvarWrapper::Types;
namespace Wrapper = Orbalt::TelvarWrapper::Wrapper;

std::shared_ptr<Types::ISmartOCRWrapper> WrapperFactory::CreateSmartOCRWrapper(
    std::unique_ptr<Types::SmartOCR::Data> data) {
  return std::make_shared<Wrapper::SmartOCRWrapper>(std::move(data),
                                                    std::shared_ptr<Wrapper::TelvarAccess>());
}

std::shared_ptr<Types::ISmartClassifierWrapper> WrapperFactory::CreateSmartClassifierWrapper(
    std::unique_ptr<Types::SmartClassifier::Data> data) {
  return std::make_shared<Wrapper::SmartClassifierWrapper>(
      std::move(data), std::shared_ptr<Wrapper::TelvarClassifierAccess>());
}

std::shared_ptr<Types::ISmartSegmenterWrapper> WrapperFactory::CreateSmartSegmenterWrapper(
    std::unique_ptr<Types::SmartSegmenter::Data> data) {
  return std::make_shared<Wrapper::SmartSegmenterWrapper>(
      std::move(data), std::shared_ptr<Wrapper::TelvarSegmenterAccess>());
}
