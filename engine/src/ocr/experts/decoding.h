#pragma once

// From the network's cells to characters. Every cell that sees a character votes for where its
// centre is; votes that agree make one character, whose category scores are their weighted mean.
// Of characters that stand closer than two of their categories ever stand in the training labels,
// the weaker goes. (The nominal size would be wrong here: proportional type has narrow neighbours.)

#include <vector>

#include "ocr/experts/spacing.h"

namespace telvar::ocr {

/// Cells below this objectness have no vote.
constexpr float kVoteThreshold = 0.15f;
/// A character is certain with at least this strength, and this strength times best score; below
/// the latter no category fits it. A certain character is read wherever another one stands beside
/// it.
constexpr float kStrengthThreshold = 0.55f;
constexpr float kFitThreshold = 0.2f;

/// A character with nothing beside it must be that certain (strength times best score): most marks
/// of a background that look like a character stand alone, most characters do not.
constexpr float kLoneThreshold = 0.75f;

/// A doubtful character has at least this strength, and this strength times best score. It is read
/// where a line of others has a place for it: on the line's course, as far from the next character
/// as the line's characters stand from each other.
constexpr float kDoubtfulStrength = 0.3f;
constexpr float kDoubtfulFit = 0.12f;

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

/// Raises scores to a power and brings them back to their sum.
void sharpen(std::vector<float>& scores, float sharpness);

/// In no particular order. O(n log n) in the votes, for votes spread over the image.
std::vector<FoundCharacter> decode(const std::vector<CellVote>& votes, const Spacing& spacing);

}  // namespace telvar::ocr
