// A host that links the library: makes the three tools and gets their state back.

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <cstdio>
#include <memory>

namespace Types = Orbalt::TelvarWrapper::Types;

template <typename Data, typename Create>
bool keeps_artifact(Create create) {
  return create(std::make_unique<Data>("artifact", ""))->GetData()->artifact == "artifact";
}

int main() {
  std::shared_ptr<Types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  const bool ok = keeps_artifact<Types::SmartOCR::Data>(
                      [&](auto data) { return factory->CreateSmartOCRWrapper(std::move(data)); }) &&
                  keeps_artifact<Types::SmartClassifier::Data>([&](auto data) {
                    return factory->CreateSmartClassifierWrapper(std::move(data));
                  }) &&
                  keeps_artifact<Types::SmartSegmenter::Data>([&](auto data) {
                    return factory->CreateSmartSegmenterWrapper(std::move(data));
                  });
  if (!ok) std::puts("a wrapper lost its artifact");
  return ok ? 0 : 1;
}
