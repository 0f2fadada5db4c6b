#pragma once

// From the network's cells to characters. Every cell that sees a character votes for where its
// centre is; votes that agree make one character, whose category scores are their weighted mean.
// Of characters that stand closer than two of their categories ever stand in the training labels,
// the weaker goes. (The nominal size would be wrong here: proportional type has narrow neighbours.)

#include <vector>

#include "ocr/spacing.h"

namespace telvar::ocr {

/// Cells below this objectness have no vote.
constexpr float kVoteThreshold = 0.15f;
/// Characters below this strength are not reported. On rendered codes not seen in training, one
/// true character in 600 lies below, and four out of five false ones.
constexpr float kStrengthThreshold = 0.55f;

/// Nor are those whose strength times best score is less: whatever they are, no category fits. On
/// the same codes that takes half of the false ones left, and none of 4200 true ones.
constexpr float kFitThreshold = 0.2f;

/// A character with nothing beside it must be that certain (strength times best score): most marks
/// of a background that look like a character stand alone, most characters do not.
constexpr float kLoneThreshold = 0.75f;

/// One cell's vote; the position in reading pixels.
struct CellVote {
  float x = 0;
  float y = 0;
  float objectness = 0;       // 0..1
  std::vector<float> scores;  // per category, summing to 1
};

/// A character found; the position in reading pixels.
struct FoundCharacter {
  float x = 0;
  float y = 0;
  float strength = 0;         // 0..1
  std::vector<float> scores;  // per category, summing to at most 1

  int best() const;
};

/// In no particular order. O(n log n) in the votes, for votes spread over the image.
std::vector<FoundCharacter> decode(const std::vector<CellVote>& votes, const Spacing& spacing);

}  // namespace telvar::ocr
