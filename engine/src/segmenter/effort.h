#pragma once

// How long a training takes: as many steps as it needs.

#include <cstddef>

namespace telvar::segmenter {

/// Rounds without the samples held out, judged after each; then the network settles at a falling
/// rate and is judged and calibrated as the one that is delivered will be; then comes the finish on
/// all samples.
struct Effort {
  int max_rounds;
  int round_steps;
  int settling_steps;
  int finish_steps;
  double finish_rate;  // share of the peak where it begins; of a settled network, not to shake it
  double peak_rate;
  int context_steps;  // of each context network
};

/// Of few images, one held out is much of what there is to learn from.
constexpr std::size_t kFew = 5;

/// Of a training from nothing on so many samples.
Effort effort_from_nothing(std::size_t samples);

/// Of a training that goes on from an artifact.
Effort effort_of_fine_tuning();

/// Of one whose artifact reaches kGoodScore already on samples that bring nothing new.
Effort effort_of_touching_up();

/// Of the rest of a training whose rounds have reached kGoodScore: a falling rate has little left
/// to bring.
Effort shortened(Effort effort);

/// An intersection over union that leaves little to gain.
constexpr double kGoodScore = 0.97;

/// Judges when rounds have brought what they can: when kGoodScore is reached and a round adds next
/// to nothing or has nothing left to add, or when two rounds running have not added to a fair
/// score. Below that, faint things may yet be found.
class Progress {
 public:
  /// `before`: the score before the first round.
  explicit Progress(double before) : last_(before), best_(before) {}

  /// To be told of the score after every round.
  bool is_over(double score);

 private:
  double last_, best_;
  int rounds_without_progress_ = 0;
};

}  // namespace telvar::segmenter
