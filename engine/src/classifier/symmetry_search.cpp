#include "classifier/symmetry_search.h"

#include <cmath>
#include <numeric>

#include "classifier/feature_views.h"

namespace telvar::classifier {
namespace {

// Views are believed to be alike when samples are recognised in them this often, compared with the
// samples as they are: all together, and those of each category.
constexpr double kAsWell = 0.93, kEachAsWell = 0.5;
constexpr std::size_t kFewestToJudge = 40;
constexpr double kClearlyBetter = 0.1;  // than chance, before anything is believed

/// Whether samples are recognised as well in some views as they are. `upright` and `recognised`
/// count them by category, the latter over all of the views. Each category is looked at: two that
/// are each other upside down would be lost among many that are not. Few samples cannot show more
/// than to within a standard error.
bool as_well(const std::vector<int>& upright, const std::vector<int>& recognised, int views,
             std::size_t samples) {
  double all = 0, all_seen = 0;
  for (std::size_t c = 0; c < upright.size(); ++c) {
    const double seen = static_cast<double>(recognised[c]) / views;
    if (seen < kEachAsWell * upright[c] - std::sqrt(upright[c])) return false;
    all += upright[c];
    all_seen += seen;
  }
  const double error = std::sqrt(all * (1 - all / static_cast<double>(samples)));
  return all_seen >= kAsWell * all - error;
}

}  // namespace

Symmetry find_symmetry(const std::vector<Features>& features, const std::vector<int>& labels,
                       const Canvas& canvas, const KernelChoice& choice, int categories,
                       core::WorkerPool& pool) {
  const std::size_t count = features.size();
  if (count < kFewestToJudge) return {};
  const bool square = canvas.width == canvas.height;
  std::vector<int> views = {0, 4, 2};
  if (square) views.insert(views.end(), {1, 3});
  const auto right = recognised_in_views(choice, features, labels, categories,
                                         orders_in_views(canvas, views), pool);
  const int upright = std::accumulate(right[0].begin(), right[0].end(), 0);
  if (upright < (1.0 / categories + kClearlyBetter) * static_cast<double>(count)) return {};
  Symmetry symmetry;
  symmetry.mirrored = as_well(right[0], right[1], 1, count);
  if (as_well(right[0], right[2], 1, count)) symmetry.turns = Turns::kUpsideDown;
  if (square) {
    std::vector<int> turned(categories);
    for (int c = 0; c < categories; ++c) turned[c] = right[2][c] + right[3][c] + right[4][c];
    if (as_well(right[0], turned, 3, count)) symmetry.turns = Turns::kAny;
  }
  return symmetry;
}

}  // namespace telvar::classifier
