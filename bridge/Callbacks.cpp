#include "bridge/Callbacks.h"

#include <utility>

#include "bridge/ImageConversion.h"
#include "telvar/exceptions.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

/// What the host's loader returned. The engine's constructor cannot know which image it refuses.
telvar::types::Image ConvertLoadedImage(const std::shared_ptr<Types::Image>& image,
                                        const std::string& imageId) {
  using telvar::types::invalid_image;
  using telvar::types::invalid_image_size;
  const auto named = [&](const std::exception& refusal) {
    return "image '" + imageId + "': " + refusal.what();
  };
  try {
    return ConvertImage(image);
  } catch (const invalid_image& refusal) {
    throw invalid_image(named(refusal));
  } catch (const invalid_image_size& refusal) {
    throw invalid_image_size(named(refusal));
  }
}

}  // namespace

EngineImageLoader AdaptImageLoader(ImageLoader loader) {
  return [loader = std::move(loader)](const std::string& imageId) {
    return ConvertLoadedImage(loader(imageId), imageId);
  };
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
