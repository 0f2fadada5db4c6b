#pragma once

// Images and regions as the engine takes them.
//
// An image is described by six unsigned values, in this order everywhere:
//   0  width             pixels
//   1  height            pixels
//   2  row stride        bytes from one row to the next; at least one row's worth
//   3  channels          1, 3 or 4
//   4  bits per channel  8 or 16 (16: native byte order)
//   5  channel order     0 gray, 1 BGR, 2 RGB, 3 BGRA, 4 RGBA

#include <array>
#include <vector>

#include "telvar/export.h"

namespace telvar::types {

/// The six layout values, in the order above.
using ImageLayout = std::array<unsigned, 6>;

/// An image that owns its pixels (row stride x height bytes). Empty when default constructed.
/// Value type; distinct objects may be used from distinct threads.
class TELVAR_API Image {
 public:
  Image();

  /// Copies row stride x height bytes from `pixels`.
  /// Throws invalid_image when the layout contradicts itself, or when `pixels` is null although
  /// the layout is not empty; invalid_image_size beyond 2^31 - 1 bytes. Nothing is read then.
  Image(unsigned width, unsigned height, unsigned stride, unsigned channels,
        unsigned bits_per_channel, unsigned channel_order, const unsigned char* pixels);

  Image(const Image&);
  Image(Image&&) noexcept;
  Image& operator=(const Image&);
  Image& operator=(Image&&) noexcept;
  ~Image();

  ImageLayout layout{};
  std::vector<unsigned char> pixels;
};

/// A view of pixels that somebody else keeps alive. Nothing is checked or copied here.
struct TELVAR_API ImageView {
  ImageView(unsigned width, unsigned height, unsigned stride, unsigned channels,
            unsigned bits_per_channel, unsigned channel_order, const unsigned char* pixels);

  /// A view of `image`, valid while it is neither changed nor destroyed.
  explicit ImageView(const Image& image);

  ImageLayout layout;
  const unsigned char* pixels;
};

/// A row-major 2 x 3 matrix that maps region pixels to image pixels, pixel centres at integers:
///   x_image = a x + b y + c,  y_image = d x + e y + f.
struct AffineTransform {
  constexpr AffineTransform(float a_, float b_, float c_, float d_, float e_, float f_)
      : a(a_), b(b_), c(c_), d(d_), e(e_), f(f_) {}

  float a, b, c, d, e, f;
};

/// An extent, width then height.
template <typename T>
struct Size2 {
  constexpr Size2(T width_, T height_) : width(width_), height(height_) {}

  T width, height;
};

}  // namespace telvar::types
