#pragma once

// Where the three tools come from.
//
//   std::shared_ptr<IWrapperFactory> factory;
//   CreateWrapperFactory(factory);  // <TelvarWrappers/CreateWrapperFactory.h>
//   auto data = std::make_unique<SmartOCR::Data>("", "");
//   std::shared_ptr<ISmartOCRWrapper> reader = factory->CreateSmartOCRWrapper(std::move(data));

#include <memory>

#include "TelvarTypes/Export.h"
#include "TelvarTypes/ISmartClassifierWrapper.h"
#include "TelvarTypes/ISmartOCRWrapper.h"
#include "TelvarTypes/ISmartSegmenterWrapper.h"

namespace Orbalt::TelvarWrapper::Types {

/// Makes tools from their stored state.
///
/// Threads: stateless; may be used from several threads at once. Ownership: the factory lives as
/// long as the shared pointer that CreateWrapperFactory filled; it must not be deleted through this
/// interface. Tools stay valid after it is gone.
///
/// Each function consumes `data`, which must not be null, and builds no engine model yet: a bad
/// artifact shows at the first call that trains or processes, a bad train cache is replaced by an
/// empty one without a word. Throws what making a train cache throws (std::bad_alloc, for example);
/// `data` is deleted then.
///
/// The order of the virtual functions is part of the binary interface.
class TELVAR_TYPES_API IWrapperFactory {
 public:
  IWrapperFactory();
  IWrapperFactory(const IWrapperFactory&) = default;
  IWrapperFactory(IWrapperFactory&&) = default;
  IWrapperFactory& operator=(const IWrapperFactory&) = default;
  IWrapperFactory& operator=(IWrapperFactory&&) = default;

  virtual std::shared_ptr<ISmartOCRWrapper> CreateSmartOCRWrapper(
      std::unique_ptr<SmartOCR::Data> data) = 0;

  virtual std::shared_ptr<ISmartClassifierWrapper> CreateSmartClassifierWrapper(
      std::unique_ptr<SmartClassifier::Data> data) = 0;

  virtual std::shared_ptr<ISmartSegmenterWrapper> CreateSmartSegmenterWrapper(
      std::unique_ptr<SmartSegmenter::Data> data) = 0;

 protected:
  ~IWrapperFactory() = default;
};

}  // namespace Orbalt::TelvarWrapper::Types
