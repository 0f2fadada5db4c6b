#include "classifier/symmetry.h"

namespace telvar::classifier {

std::vector<int> views_of(const Symmetry& symmetry) {
  std::vector<int> views = {0};
  if (symmetry.turns == Turns::kUpsideDown) views = {0, 2};
  if (symmetry.turns == Turns::kAny) views = {0, 1, 2, 3};
  if (symmetry.mirrored) {
    const std::size_t count = views.size();
    for (std::size_t i = 0; i < count; ++i) views.push_back(views[i] + 4);
  }
  return views;
}

Cell cell_before(int view, Cell cell, int columns, int rows) {
  if (view & 1) cell = {cell.y, columns - 1 - cell.x};
  if (view & 2) cell = {columns - 1 - cell.x, rows - 1 - cell.y};
  if (view & 4) cell.x = columns - 1 - cell.x;
  return cell;
}

}  // namespace telvar::classifier
