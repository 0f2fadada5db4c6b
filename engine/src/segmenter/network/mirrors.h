#pragma once

// An image and its mirror images. Trainings mirror their crops at random, so a network answers each
// of them alike but for errors of its own, which a mean makes smaller.

#include <functional>
#include <vector>

namespace telvar::segmenter {

/// Which sides are exchanged.
struct Mirror {
  bool columns = false, rows = false;

  /// Where the pixel (x, y) of an image of width x height lies in its mirror image.
  int column(int x, int width) const { return columns ? width - 1 - x : x; }
  int row(int y, int height) const { return rows ? height - 1 - y : y; }
};

/// The image as it is, and three mirror images of it.
constexpr int kMirrors = 4;

/// Calls `work` for the first `count` mirrors, 1 to kMirrors, with `planes` (of width x height)
/// mirrored in place. They do not come back as they were.
void for_mirrors(int count, std::vector<float>& planes, int width, int height,
                 const std::function<void(const Mirror&)>& work);

}  // namespace telvar::segmenter
