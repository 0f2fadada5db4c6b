#pragma once

// Images that go into a tool and images that come out of one.
//
// Six layout values describe a pixel buffer. They reach the engine unchanged and in this order;
// with the embedded engine they mean:
//   0  width             pixels
//   1  height            pixels
//   2  row stride        bytes from one row to the next, padding included
//   3  channels          1, 3 or 4
//   4  bits per channel  8 or 16 (16: native byte order)
//   5  channel order     0 gray, 1 BGR, 2 RGB, 3 BGRA, 4 RGBA
//
//   std::vector<unsigned char> frame = grab();  // 640 x 480, gray
//   auto image = std::make_shared<Image>(ImageLayout{640, 480, 640, 1, 8, 0}, frame.data());

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TelvarTypes/Export.h"

namespace Orbalt::TelvarWrapper::Types {

/// The six layout values, in the order above.
using ImageLayout = std::array<std::uint32_t, 6>;

/// An input image over a buffer that the host owns: a camera frame is processed without a copy.
///
/// The record does not own `pixels`. Image and buffer must stay alive and unchanged for the whole
/// call that receives the image; the library keeps neither afterwards. Several threads may read one
/// image at once.
struct TELVAR_TYPES_API Image {
  /// All layout values 0, no pixels.
  Image();
  Image(const ImageLayout& layout, const unsigned char* pixels = nullptr);
  TELVAR_TYPES_VALUE_OPERATIONS(Image);

  /// How `pixels` is laid out.
  ImageLayout layout{};

  /// First byte of row stride x height bytes. Null: the image holds no pixels.
  const unsigned char* pixels = nullptr;
};

/// An image that owns its bytes: the returned pointer keeps `pixels` alive. Use it where the buffer
/// would not outlive the call, for example in an image loader. An empty vector gives an image
/// without pixels. Nothing is checked; the engine checks layout and pixels when it gets the image.
TELVAR_TYPES_API std::shared_ptr<Image> MakeImage(const ImageLayout& layout,
                                                  std::vector<unsigned char> pixels);

/// An image that the engine made. It owns its pixels and outlives the wrapper it came from.
struct TELVAR_TYPES_API ResultImage {
  /// All layout values 0, no pixels.
  ResultImage();
  ResultImage(const ImageLayout& layout, std::vector<unsigned char> pixels = {});
  TELVAR_TYPES_VALUE_OPERATIONS(ResultImage);

  /// How `pixels` is laid out.
  ImageLayout layout{};

  /// Row stride x height bytes.
  std::vector<unsigned char> pixels;
};

/// Fetches the image of an identifier while a tool trains or processes a batch.
///
/// The library copies the pixels and releases the returned image before it asks for the next one.
/// An image without pixels, or a null pointer, counts as an empty image, which the embedded engine
/// rejects with InvalidImageSizeException (as a mask, whose size is then not its image's, with
/// InvalidArgumentException). An exception from a loader passes through the engine; with the
/// embedded engine it reaches the caller of `Train` or `BatchProcess` unchanged. The loader may be
/// called on a thread that the engine chooses; the embedded engine stays on the calling thread.
using ImageLoader = std::function<std::shared_ptr<Image>(const std::string& imageId)>;

}  // namespace Orbalt::TelvarWrapper::Types
