#include "classifier/symmetry_search.h"

#include <cmath>
#include <numeric>

#include "classifier/features/orders.h"
#include "classifier/kernel/machine.h"
#include "classifier/kernel/paired_errors.h"

namespace telvar::classifier {
namespace {

// Transforms are believed to change no category when samples are recognised under them this often,
// compared with the samples as they are: all together, and those of each category.
constexpr double kAsWell = 0.93, kEachAsWell = 0.5;
constexpr std::size_t kFewestToJudge = 40;
constexpr double kClearlyBetter = 0.1;  // than chance, before anything is believed

// Other transforms win by a clear gain: so much less error, more than chance makes of it, and no
// category for which they are clearly worse.
constexpr double kGain = 0.95, kLoss = 1.1;
constexpr double kGainErrors = 2, kLossErrors = 3;  // standard errors; there are many categories

/// Whether samples are recognised as well under some transforms as they are. `upright` and
/// `recognised` count them by category, the latter over all of the transforms. Each category is
/// looked at: two that are each other upside down would be lost among many that are not. Few
/// samples cannot show more than to within a standard error.
bool as_well(const std::vector<int>& upright, const std::vector<int>& recognised, int transforms,
             std::size_t samples) {
  double all = 0, all_seen = 0;
  for (std::size_t c = 0; c < upright.size(); ++c) {
    const double seen = static_cast<double>(recognised[c]) / transforms;
    if (seen < kEachAsWell * upright[c] - std::sqrt(upright[c])) return false;
    all += upright[c];
    all_seen += seen;
  }
  const double error = std::sqrt(all * (1 - all / static_cast<double>(samples)));
  return all_seen >= kAsWell * all - error;
}

/// The squared leave-one-out error of every sample, by a machine that compares under all
/// transforms.
std::vector<double> errors_of(const Symmetry& symmetry, const std::vector<Features>& features,
                              const std::vector<int>& labels, const Canvas& canvas,
                              const KernelChoice& choice, int categories, core::WorkerPool& pool) {
  KernelAnswer held_out;
  KernelMachine::learn(choice, features, orders_under(canvas, transforms_of(symmetry)), labels,
                       categories, pool, held_out);
  std::vector<double> errors(features.size());
  for (int i = 0; i < held_out.scores.rows(); ++i) {
    for (int c = 0; c < categories; ++c) {
      const double error = held_out.scores.at(i, c) - (labels[i] == c ? 1 : 0);
      errors[i] += error * error;
    }
  }
  return errors;
}

/// Whether errors are clearly lower than before in all, and in no category clearly higher: two that
/// are each other's mirror image would be lost among many that gain.
bool clear_gain(const std::vector<double>& errors, const std::vector<double>& before,
                const std::vector<int>& labels, int categories) {
  if (mean_of(errors) > kGain * mean_of(before) || !differ(errors, before, kGainErrors)) {
    return false;
  }
  for (int c = 0; c < categories; ++c) {
    std::vector<double> mine, others;
    for (std::size_t i = 0; i < labels.size(); ++i) {
      if (labels[i] == c) mine.push_back(errors[i]), others.push_back(before[i]);
    }
    if (mine.empty() || mean_of(mine) <= kLoss * mean_of(others)) continue;
    if (differ(mine, others, kLossErrors)) return false;
  }
  return true;
}

/// The transforms under which samples are recognised about as well as they are, if they are
/// `recognised`.
Symmetry recognised_symmetry(const std::vector<Features>& features, const std::vector<int>& labels,
                             const Canvas& canvas, const KernelChoice& choice, int categories,
                             core::WorkerPool& pool, bool& recognised) {
  const std::size_t count = features.size();
  const bool square = canvas.width == canvas.height;
  std::vector<DihedralTransform> transforms = {{false, 0}, {true, 0}, {false, 2}};
  if (square) transforms.insert(transforms.end(), {{false, 1}, {false, 3}});
  const auto right = recognised_in_orders(choice, features, labels, categories,
                                          orders_under(canvas, transforms), pool);
  const int upright = std::accumulate(right[0].begin(), right[0].end(), 0);
  recognised = upright >= (1.0 / categories + kClearlyBetter) * static_cast<double>(count);
  if (!recognised) return {};
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

}  // namespace

Symmetry find_symmetry(const std::vector<Features>& features, const std::vector<int>& labels,
                       const Canvas& canvas, const KernelChoice& choice, int categories,
                       core::TrainingPool& pool) {
  if (features.size() < kFewestToJudge) return {};
  bool recognised = false;
  Symmetry best =
      recognised_symmetry(features, labels, canvas, choice, categories, pool, recognised);
  if (!recognised) return {};
  const auto errors_with = [&](const Symmetry& symmetry) {
    pool.monitor().check();
    return errors_of(symmetry, features, labels, canvas, choice, categories, pool);
  };
  const std::vector<double> before = errors_with(best);
  double lowest = mean_of(before);
  for (const Turns turns : {Turns::kNone, Turns::kUpsideDown, Turns::kAny}) {
    if (turns == Turns::kAny && canvas.width != canvas.height) continue;
    for (const bool mirrored : {false, true}) {
      const std::vector<double> errors = errors_with({mirrored, turns});
      if (mean_of(errors) >= lowest || !clear_gain(errors, before, labels, categories)) continue;
      best = {mirrored, turns};
      lowest = mean_of(errors);
    }
  }
  return best;
}

}  // namespace telvar::classifier
