#pragma once

// Which mirrored and turned views of a picture mean the same: parts and textures lie any way, but
// letters do not.

#include <vector>

#include "classifier/canvas.h"

namespace telvar::classifier {

/// What changes no category, found from the training samples.
struct Symmetry {
  bool mirrored = false;  // left and right exchanged
  bool turned = false;    // about the centre, by any angle
};

/// The views that are alike, as numbers for `view_of`; the first is 0, the picture itself.
std::vector<int> views_of(const Symmetry& symmetry);

/// A sample turned by (view & 3) quarters of a turn after being mirrored when view & 4. Quarter
/// turns of 90 and 270 degrees need a square canvas.
Sample view_of(const Sample& sample, const Canvas& canvas, int view);

}  // namespace telvar::classifier
