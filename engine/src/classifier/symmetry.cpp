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

Place place_before(int view, Place place, int columns, int rows) {
  if (view & 1) place = {place.y, columns - 1 - place.x};
  if (view & 2) place = {columns - 1 - place.x, rows - 1 - place.y};
  if (view & 4) place.x = columns - 1 - place.x;
  return place;
}

}  // namespace telvar::classifier
