#include "bridge/ImageConversion.h"

namespace Orbalt::TelvarWrapper::Wrapper {

telvar::types::Image ConvertImage(const std::shared_ptr<Types::Image>& image) {
  if (!image || image->pixels == nullptr) return telvar::types::Image();
  const Types::ImageLayout& l = image->layout;
  return telvar::types::Image(l[0], l[1], l[2], l[3], l[4], l[5], image->pixels);
}

std::shared_ptr<Types::ResultImage> ConvertImage(telvar::types::Image& image) {
  auto result = std::make_shared<Types::ResultImage>();
  result->layout = image.layout;
  result->pixels.swap(image.pixels);
  return result;
}

telvar::types::ImageView ConvertToImageView(const std::shared_ptr<Types::Image>& image) {
  if (!image) return telvar::types::ImageView(0, 0, 0, 0, 0, 0, nullptr);
  const Types::ImageLayout& l = image->layout;
  return telvar::types::ImageView(l[0], l[1], l[2], l[3], l[4], l[5], image->pixels);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper
