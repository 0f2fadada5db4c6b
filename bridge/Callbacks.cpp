#include "bridge/Callbacks.h"

#include <utility>

#include "TelvarTypes/MonitoredLoader.h"
#include "bridge/ImageConversion.h"
#include "telvar/monitored_loader.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

/// The engine recognises its own type of monitored loader as the library recognises the host's.
EngineImageLoader Monitored(Types::MonitoredLoader loader) {
  telvar::types::MonitoredLoader engine;
  engine.threads = loader.threads;
  engine.load = [loader](const std::string& imageId) { return ConvertImage(loader(imageId)); };
  if (loader.report) {
    engine.report = [loader = std::move(loader)](double fraction, double score) {
      loader.Tell({static_cast<float>(fraction), static_cast<float>(score)});
    };
  }
  return engine;
}

}  // namespace

EngineImageLoader AdaptImageLoader(ImageLoader loader) {
  if (const auto* monitored = loader.target<Types::MonitoredLoader>()) return Monitored(*monitored);
  return [loader = std::move(loader)](const std::string& imageId) {
    return ConvertImage(loader(imageId));
  };
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
