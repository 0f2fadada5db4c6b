#include "bridge/Callbacks.h"

#include "bridge/ImageConversion.h"

namespace Orbalt::TelvarWrapper::Wrapper {

EngineImageLoader AdaptImageLoader(const ImageLoader& loader) {
  return [loader](const std::string& imageId) { return ConvertImage(loader(imageId)); };
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
