#pragma once

// How long a training takes: as many steps as it needs.

#include <cstddef>

namespace telvar::segmenter {

/// A training's three parts. Rounds learn without the held-out samples, and the network is judged
/// after each. Then it settles at a falling rate, and is judged and calibrated as the one that is
/// delivered will be. The finish learns from all samples.
struct Effort {
  int max_rounds;
  int round_steps;
  int settling_steps;
  int finish_steps;
  double
      finish_rate;  // at its begin, share of the peak; lower where a settled network would suffer
  double peak_rate;
  int context_steps;         // of each context network, from a part of the samples
  int context_joining_steps;  // of each, from all of them but those held out
  int context_finish_steps;   // of each, from all of them
};

/// Up to so many images are few: one that is held out is much of what there is to learn from.
constexpr std::size_t kFew = 5;

/// The effort of a training from nothing on so many samples.
Effort effort_from_nothing(std::size_t samples);

/// The effort of a training that starts from an artifact.
Effort effort_of_fine_tuning();

/// The effort of such a training where the artifact reaches kGoodScore already, on samples that
/// bring no new category.
Effort effort_of_touching_up();

/// The effort of what follows rounds that have reached kGoodScore: a falling rate has little left
/// to bring.
Effort shortened(Effort effort);

/// An intersection over union that leaves little to gain.
constexpr double kGoodScore = 0.97;

/// Judges when rounds have brought what they can: when kGoodScore is reached and a round adds next
/// to nothing or has nothing left to add, or when two rounds in a row have not added to a fair
/// score. Below a fair score, faint things may yet be found.
class Progress {
 public:
  /// `before`: the score before the first round.
  explicit Progress(double before) : last_(before), best_(before) {}

  /// Takes the score after each round, and returns whether that was the last.
  bool is_over(double score);

 private:
  double last_, best_;
  int rounds_without_progress_ = 0;
};

}  // namespace telvar::segmenter
