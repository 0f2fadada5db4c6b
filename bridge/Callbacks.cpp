#include "bridge/Callbacks.h"

#include <utility>

#include "bridge/ImageConversion.h"

namespace Orbalt::TelvarWrapper::Wrapper {

EngineImageLoader AdaptImageLoader(ImageLoader loader) {
  return [loader = std::move(loader)](const std::string& imageId) {
    return ConvertImage(loader(imageId));
  };
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
