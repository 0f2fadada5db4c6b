#pragma once

// What the network is to answer for a crop, cell by cell, and the loss of what it does answer.
//
// A page on which only some characters are marked is normal, so not everything without a label is
// background. A cell teaches
//   - "character" within kPositiveRadius of a label, with the label's category and place;
//   - nothing between that and kIgnoreRadius, nor near an unlabelled place that an earlier stage of
//     the training took for a character;
//   - "background", with full weight, beyond kIgnoreRadius of a label but too near for a neighbour
//     to be centred there, and where the surroundings are clearly empty;
//   - "background" with the stage's weight elsewhere.
// The first stage's weight is so small that what looks like a labelled character stays one even if
// most of its kind are not labelled, while what never looks like one becomes background all the
// same. What it then finds without a label is the unlabelled places of the second stage, which has
// full weight elsewhere.

#include <cstdint>
#include <vector>

#include "ocr/samples/crops.h"

namespace telvar::ocr {

/// Radii in nominal characters. About 8 cells of 4 x 4 reading pixels lie within the
/// positive radius.
constexpr float kPositiveRadius = 0.26f;
constexpr float kIgnoreRadius = 0.42f;
constexpr float kSurroundingRadius = 0.6f;
constexpr float kUnlabelledRadius = 0.5f;

/// Weight of what may be background or an unlabelled character, in the first stage: too little to
/// unlearn a shape that is labelled elsewhere, enough for textures, which nothing contradicts.
constexpr float kUncertainWeight = 0.2f;

/// Row by row, kCellRows x kCellColumns.
struct Targets {
  std::vector<float> objectness;       // 1 character, 0 background
  std::vector<float> weight;           // 0 where the objectness teaches nothing
  std::vector<std::int64_t> category;  // -1 where there is none
  std::vector<float> offset_x;         // from the cell's centre to the character's, characters
  std::vector<float> offset_y;
};

/// `elsewhere`: the weight of background that is not certain, 0..1.
Targets make_targets(const Crop& crop, float elsewhere);

/// The loss of the network's answer, kCellRows x kCellColumns x (kFirstCategory + K) floats for
/// each crop of `targets`, one after the other; `gradient`, of the same shape, takes its gradient.
/// Focal cross-entropy of the objectness (Lin et al., 2017), and at the cells of characters
/// smoothed cross-entropy of the category and smooth absolute error of the offset; all per
/// character cell. `log_shares` (K values) are added to the category logits: what is seldom seen in
/// training is then not held for unlikely in reading (logit adjustment, Menon et al., 2021).
double network_loss(const float* answer, const std::vector<Targets>& targets,
                    const std::vector<float>& log_shares, float* gradient);

}  // namespace telvar::ocr
