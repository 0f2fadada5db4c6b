#include "TelvarTypes/IWrapperFactory.h"

namespace Orbalt::TelvarWrapper::Types {

IWrapperFactory::IWrapperFactory() = default;
ISmartOCRWrapper::ISmartOCRWrapper() = default;
ISmartClassifierWrapper::ISmartClassifierWrapper() = default;
ISmartSegmenterWrapper::ISmartSegmenterWrapper() = default;

}  // namespace Orbalt::TelvarWrapper::Types
