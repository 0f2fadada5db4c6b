#include "TelvarTypes/Image.h"

#include <utility>

#include "ValueOperations.h"

namespace Orbalt::TelvarWrapper::Types {
namespace {

/// The image and the bytes it points to, in one allocation.
struct OwningImage {
  OwningImage(const ImageLayout& layout, std::vector<unsigned char> pixels)
      : bytes(std::move(pixels)), image(layout, bytes.empty() ? nullptr : bytes.data()) {}

  std::vector<unsigned char> bytes;
  Image image;
};

}  // namespace

TELVAR_TYPES_DEFINE_RECORD(Image);
TELVAR_TYPES_DEFINE_RECORD(ResultImage);

Image::Image(const ImageLayout& layout_values, const unsigned char* first_byte)
    : layout(layout_values), pixels(first_byte) {}

ResultImage::ResultImage(const ImageLayout& layout_values, std::vector<unsigned char> bytes)
    : layout(layout_values), pixels(std::move(bytes)) {}

std::shared_ptr<Image> MakeImage(const ImageLayout& layout, std::vector<unsigned char> pixels) {
  const auto owner = std::make_shared<OwningImage>(layout, std::move(pixels));
  return std::shared_ptr<Image>(owner, &owner->image);
}

}  // namespace Orbalt::TelvarWrapper::Types
