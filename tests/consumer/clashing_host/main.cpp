// Loads and unloads the library twenty times beside clashing message classes, using it each time.

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>
#include <dlfcn.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "telvar_msg/classification.pb.h"

namespace Types = Orbalt::TelvarWrapper::Types;

namespace {

constexpr int kReloads = 20;
constexpr long kAllowedGrowthKilobytes = 8 * 1024;

long resident_kilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long value = 0;
    if (word == "VmRSS:" && status >> value) return value;
  }
  return -1;
}

/// Serialises a data set through the library's own messages, up to an engine that may refuse it.
void use(Types::IWrapperFactory& factory) {
  auto classifier =
      factory.CreateSmartClassifierWrapper(std::make_unique<Types::SmartClassifier::Data>("", ""));
  Types::SmartClassifier::Dataset dataset;
  dataset.samples["key"].imageId = "image";
  dataset.samples["key"].categoryId = "category";
  try {
    classifier->Train(dataset, [](const std::string&) { return std::make_shared<Types::Image>(); });
  } catch (const Orbalt::TelvarWrapper::TelvarException&) {
  }
  classifier->GetData();
}

bool load_use_unload() {
  void* library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::printf("%s\n", dlerror());
    return false;
  }
  const auto create =
      reinterpret_cast<void (*)(std::shared_ptr<Types::IWrapperFactory>&)>(dlsym(library, "CreateWrapperFactory"));
  std::shared_ptr<Types::IWrapperFactory> factory;
  create(factory);
  use(*factory);
  factory.reset();
  return dlclose(library) == 0;
}

}  // namespace

int main() {
  telvar_msg::qv::classification::Sample own;
  own.set_image_id("image");
  const bool reflects = own.GetDescriptor()->full_name() == "telvar_msg.qv.classification.Sample";
  if (!reflects || !load_use_unload() || !load_use_unload()) return 1;

  const long before = resident_kilobytes();
  for (int i = 2; i < kReloads; ++i) {
    if (!load_use_unload()) return 1;
  }
  const long growth = resident_kilobytes() - before;
  std::printf("resident growth over %d reloads: %ld kB\n", kReloads - 2, growth);
  return own.image_id() == "image" && growth < kAllowedGrowthKilobytes ? 0 : 1;
}
