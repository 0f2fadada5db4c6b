#pragma once

// The transforms of a square onto itself, and those of them that change no category: parts and
// textures lie any way, but letters do not.

#include <vector>

namespace telvar::classifier {

/// An element of the dihedral group of the square: the image is mirrored (left and right exchanged)
/// or not, then turned clockwise. One or three quarters need a square image.
struct DihedralTransform {
  bool mirrored = false;
  int quarter_turns = 0;  // 0..3

  bool turns_sideways() const { return quarter_turns % 2 == 1; }
};

/// Which turns about the centre change no category.
enum class Turns { kNone, kUpsideDown, kAny };

/// What changes no category, found from the training samples.
struct Symmetry {
  bool mirrored = false;  // left and right exchanged
  Turns turns = Turns::kNone;
};

/// The transforms that change no category; the first leaves the image as it is.
std::vector<DihedralTransform> transforms_of(const Symmetry& symmetry);

struct Cell {
  int x, y;
};

/// Where the image has what stands at `cell` after the transform, both on a grid of columns x rows.
Cell cell_before(const DihedralTransform& transform, Cell cell, int columns, int rows);

}  // namespace telvar::classifier
