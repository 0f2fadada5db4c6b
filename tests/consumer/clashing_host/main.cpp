// Loads and unloads the library twenty times beside clashing message classes, using it each time.

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>
#include <dlfcn.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

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

/// What the engine refuses is of no interest here: the library's messages are used up to it.
template <typename Call>
void attempt(Call call) {
  try {
    call();
  } catch (const Orbalt::TelvarWrapper::TelvarException&) {
  }
}

/// Trains and processes: data sets, parameters and answers pass through the library's own messages.
void use(Types::IWrapperFactory& factory) {
  const auto image = Types::MakeImage({64, 48, 64, 1, 8, 0}, std::vector<unsigned char>(64 * 48));
  const auto load = [&](const std::string&) { return image; };

  const auto classifier =
      factory.CreateSmartClassifierWrapper(std::make_unique<Types::SmartClassifier::Data>("", ""));
  Types::SmartClassifier::Dataset dataset;
  dataset.samples["key"] = {"image", "category"};
  attempt([&] { classifier->Train(dataset, load); });
  attempt([&] { classifier->Process(image); });
  classifier->GetData();

  const auto reader =
      factory.CreateSmartOCRWrapper(std::make_unique<Types::SmartOCR::Data>("", ""));
  attempt([&] { reader->Train({}, load); });
  attempt([&] {
    reader->Process(image, nullptr, {12, 16}, Types::SmartOCR::BasicFielding("0123456789", 0));
  });
}

bool load_use_unload() {
  void* library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::printf("%s\n", dlerror());
    return false;
  }
  const auto create = reinterpret_cast<void (*)(std::shared_ptr<Types::IWrapperFactory>&)>(
      dlsym(library, "CreateWrapperFactory"));
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
