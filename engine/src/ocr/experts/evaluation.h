#pragma once

// Compares what a network reads with the labels.

#include <vector>

#include "ocr/experts/inference.h"

namespace telvar::ocr {

/// A label counts as found when a character is read within this distance, in characters.
constexpr float kFoundRadius = 0.42f;

/// What was read at a label: the scores of its character, and which would have been right.
struct LabelledScores {
  std::vector<float> scores;
  int category;
  bool right() const;
};

/// What was made of one sample.
struct Evaluation {
  /// Per label: strength times the labelled category's score of the character read there; 0 when
  /// none is.
  std::vector<float> confidences;
  std::vector<LabelledScores> judged;  // the labels where a character was read
  int right = 0;                       // labels whose place was read, as the labelled category
  /// Characters read with certainty where there is no label; in prepared pixels.
  std::vector<PreparedLabel> unlabelled;
};

/// `found`: the characters read on the sample, in reading pixels.
Evaluation evaluate(const std::vector<FoundCharacter>& found, const PreparedSample& sample);

}  // namespace telvar::ocr
