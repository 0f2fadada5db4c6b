#include "segmenter/effort.h"

#include <algorithm>

namespace telvar::segmenter {
namespace {

/// With few images, more of the steps are made in the finish, which learns from all of them. They
/// do not tell what a whole region looks like.
Effort effort_from_few() {
  Effort effort;
  effort.rounds = effort.max_rounds = 4;
  effort.settling_steps = 80;
  effort.finish_steps = 300;
  effort.finish_rate = 1;
  effort.context_steps = effort.context_joining_steps = effort.context_finish_steps = 0;
  return effort;
}

/// Hues tell more in most data sets than in the scenes that the base has learned from, so more is
/// to be learned of them: tiles (draws 1 and 2) reached 0.966 and 0.965 at this rate, 0.963 and
/// 0.960 at three fifths of it.
constexpr double kRateOfColours = 3e-3;

/// A second round that reaches this score leaves nothing to the third.
constexpr double kBestScore = 0.99;

/// The steps of a training that has reached kGoodScore: less than two thirds of the full ones.
constexpr int kShortSettling = 60, kShortFinish = 60;

/// A round that adds less to a good score is the last.
constexpr double kLeastGain = 0.005;
/// With a fair score, two rounds in a row that add less than this to the best one are the last.
constexpr double kFairScore = 0.6;
constexpr double kLeastProgress = 0.01;

}  // namespace

Effort effort_from_nothing(std::size_t samples, bool colour) {
  Effort effort = samples <= kFew ? effort_from_few() : Effort{};
  if (colour) effort.peak_rate = kRateOfColours;
  return effort;
}

/// Most is known already; a fifth of the steps leaves alone what the exemplars do not show.
Effort effort_of_fine_tuning() {
  Effort effort;
  effort.rounds = effort.max_rounds = 1;
  effort.settling_steps = effort.finish_steps = 20;
  effort.peak_rate = 2e-3;
  effort.context_steps = 60;
  effort.context_rate = effort.peak_rate;
  effort.context_joining_steps = effort.context_finish_steps = 0;
  return effort;
}

/// Enough to take the new images in.
Effort effort_of_touching_up() {
  Effort effort = effort_of_fine_tuning();
  effort.round_steps = 20;
  effort.settling_steps = effort.finish_steps = 6;
  effort.peak_rate = 1e-3;
  effort.context_steps = 0;
  return effort;
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
  ++rounds_;
  const bool stands = rounds_without_progress_ >= 2, had_usual = rounds_ >= usual_;
  if (score < kFairScore) return rounds_ >= most_ || (had_usual && stands);
  return had_usual || stands || (score >= kGoodScore && idle);
}

}  // namespace telvar::segmenter
