#pragma once

// How long a training takes: as many steps as it needs.

#include <cstddef>

namespace telvar::segmenter {

/// A training's three parts. Rounds learn without the held-out samples, and the network is judged
/// after each. Then it settles at a falling rate, and is judged and calibrated as the one that is
/// delivered will be. The finish learns from all samples.
///
/// As it stands, of a training from nothing on more than a few samples. The figures were chosen on
/// other data, or other draws of it, than the bench's table shows.
struct Effort {
  int rounds = 5;
  /// While the score is not fair, faint things may yet be found: defects (draw 1) went from 0.521
  /// to 0.566 by four rounds more.
  int max_rounds = 9;
  int round_steps = 52;
  int settling_steps = 88;
  int finish_steps = 102;
  /// At the begin of the finish, share of the peak; lower where a settled network would suffer.
  double finish_rate = 0.5;
  double peak_rate = 1.5e-3;

  /// Steps of each context network: from a part of the samples, from all but those held out, from
  /// all. 400 of them, on views of 64 pixels, cost as much as 100 of the fine network. With 300,
  /// the context alone reached 0.82 on slices (draw 1) and on neighbours (draw 2), with 400 0.85
  /// and 0.88. 150 further ones took neighbours (draw 2) from 0.886 to 0.918.
  int context_steps = 400;
  int context_joining_steps = 100;
  int context_finish_steps = 50;
  double context_rate = 3e-3;  // at its peak; in joining and finish, finish_rate of it
};

/// Up to so many images are few: one that is held out is much of what there is to learn from.
constexpr std::size_t kFew = 5;

/// The effort of a training from nothing on so many samples, gray ones or in colour.
Effort effort_from_nothing(std::size_t samples, bool colour);

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
/// score. With a fair score the usual rounds are enough; without, there are more while they bring
/// something.
class Progress {
 public:
  /// `before`: the score before the first round.
  Progress(const Effort& effort, double before)
      : usual_(effort.rounds), most_(effort.max_rounds), last_(before), best_(before) {}

  /// Takes the score after each round, and returns whether that was the last.
  bool is_over(double score);

 private:
  int usual_, most_;
  double last_, best_;
  int rounds_ = 0, rounds_without_progress_ = 0;
};

}  // namespace telvar::segmenter
