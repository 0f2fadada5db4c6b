#include "classifier/samples/dihedral.h"

namespace telvar::classifier {

std::vector<DihedralTransform> transforms_of(const Symmetry& symmetry) {
  const int step = symmetry.turns == Turns::kAny ? 1 : symmetry.turns == Turns::kUpsideDown ? 2 : 4;
  std::vector<DihedralTransform> transforms;
  for (const bool mirrored : {false, true}) {
    if (mirrored && !symmetry.mirrored) break;
    for (int turns = 0; turns < 4; turns += step) transforms.push_back({mirrored, turns});
  }
  return transforms;
}

Cell cell_before(const DihedralTransform& transform, Cell cell, int columns, int rows) {
  if (transform.turns_sideways()) cell = {cell.y, columns - 1 - cell.x};
  if (transform.quarter_turns >= 2) cell = {columns - 1 - cell.x, rows - 1 - cell.y};
  if (transform.mirrored) cell.x = columns - 1 - cell.x;
  return cell;
}

}  // namespace telvar::classifier
