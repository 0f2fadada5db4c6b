#pragma once

// Which mirrored and turned views of a picture mean the same: parts and textures lie any way, but
// letters do not.
//
// A view is a number from 0 to 7: the picture mirrored (left and right exchanged) if it has a 4 in
// it, then turned clockwise by (number & 3) quarters. Odd quarters need a square picture.

#include <vector>

namespace telvar::classifier {

/// Which turns about the centre change no category.
enum class Turns { kNone, kUpsideDown, kAny };

/// What changes no category, found from the training samples.
struct Symmetry {
  bool mirrored = false;  // left and right exchanged
  Turns turns = Turns::kNone;
};

/// The views that are alike; the first is 0, the picture itself.
std::vector<int> views_of(const Symmetry& symmetry);

struct Cell {
  int x, y;
};

/// Where the picture has what the view shows at `cell`, both on a grid of columns x rows.
Cell cell_before(int view, Cell cell, int columns, int rows);

}  // namespace telvar::classifier
