#include "TelvarWrappers/CreateWrapperFactory.h"

#include "factory/WrapperFactory.h"

void CreateWrapperFactory(std::shared_ptr<Orbalt::TelvarWrapper::Types::IWrapperFactory>& factory) {
  factory = std::make_shared<WrapperFactory>();
}
