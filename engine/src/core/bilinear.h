#pragma once

#include <cstddef>

namespace telvar::core {

/// The four pixels around a place of a plane, and how near it is to each. The place is the same in
/// all planes of an image, so a tap is made once and read from each of them.
struct BilinearTap {
  std::size_t first = 0;             // index of the upper left pixel
  std::size_t right = 0, below = 0;  // from there to its neighbours; 0 at the edge, which repeats
  float share_x = 0, share_y = 0;    // of the right and the lower neighbours, 0..1

  /// The value at the place, of anything that [] gives pixels of.
  template <class Plane>
  float operator()(const Plane& plane) const {
    const float top = plane[first] + share_x * (plane[first + right] - plane[first]);
    const float bottom =
        plane[first + below] + share_x * (plane[first + below + right] - plane[first + below]);
    return top + share_y * (bottom - top);
  }
};

/// `x` lies in 0..width - 1, `y` in 0..height - 1: pixels, whose centres are at integers.
template <class Real>
BilinearTap bilinear_tap(Real x, Real y, int width, int height) {
  const int left = static_cast<int>(x), top = static_cast<int>(y);
  BilinearTap tap;
  tap.first = static_cast<std::size_t>(top) * static_cast<std::size_t>(width) +
              static_cast<std::size_t>(left);
  tap.right = left + 1 < width ? 1 : 0;
  tap.below = top + 1 < height ? static_cast<std::size_t>(width) : 0;
  tap.share_x = static_cast<float>(x - static_cast<Real>(left));
  tap.share_y = static_cast<float>(y - static_cast<Real>(top));
  return tap;
}

}  // namespace telvar::core
