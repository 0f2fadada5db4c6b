#include "segmenter/effort.h"

#include <algorithm>

namespace telvar::segmenter {
namespace {

// In the order of the fields: most rounds, steps of a round, of settling and of the finish, rate of
// the finish, peak rate, steps of each context network, of its joining and of its finish. These and
// the limits below were chosen on the generated sets of the bench.

/// 400 steps of a context network, on views of 64 pixels, cost as much as 100 of the fine one. With
/// 300, the context alone reached 0.82 on slices (draw 1) and on neighbours (draw 2), with 400 0.85
/// and 0.88. Its finish, the rest alike, took neighbours (draw 2) from 0.886 to 0.918.
constexpr Effort kFromNothing{5, 60, 105, 120, 0.5, 3e-3, 400, 100, 50};

/// With few images, more of the steps are made in the finish, which learns from all of them.
constexpr Effort kFromFew{4, 60, 80, 300, 1.0, 3e-3, 0, 0, 0};

/// Most is known already; a sixth of the steps leaves alone what the exemplars do not show.
constexpr Effort kFineTuning{1, 60, 20, 20, 0.5, 2e-3, 60, 0, 0};

/// Enough to take the new images in.
constexpr Effort kTouchingUp{1, 20, 6, 6, 0.5, 1e-3, 0, 0, 0};

/// A second round that reaches this score leaves nothing to the third.
constexpr double kBestScore = 0.99;

/// The steps of a training that has reached kGoodScore: about half of the full ones.
constexpr int kShortSettling = 60, kShortFinish = 60;

/// A round that adds less to a good score is the last.
constexpr double kLeastGain = 0.005;
/// With a fair score, two rounds in a row that add less than this to the best one are the last.
constexpr double kFairScore = 0.6;
constexpr double kLeastProgress = 0.01;

}  // namespace

Effort effort_from_nothing(std::size_t samples) {
  return samples <= kFew ? kFromFew : kFromNothing;
}

Effort effort_of_fine_tuning() {
  return kFineTuning;
}

Effort effort_of_touching_up() {
  return kTouchingUp;
}

Effort shortened(Effort effort) {
  effort.settling_steps = std::min(effort.settling_steps, kShortSettling);
  effort.finish_steps = std::min(effort.finish_steps, kShortFinish);
  return effort;
}

bool Progress::is_over(double score) {
  const bool idle = score - last_ < kLeastGain || (last_ >= kGoodScore && score >= kBestScore);
  rounds_without_progress_ = score < best_ + kLeastProgress ? rounds_without_progress_ + 1 : 0;
  last_ = score;
  best_ = std::max(best_, score);
  return (score >= kGoodScore && idle) || (score >= kFairScore && rounds_without_progress_ >= 2);
}

}  // namespace telvar::segmenter
