#pragma once

#include "segmenter/network/loss.h"

namespace telvar::segmenter {

/// The loss of scenes in which a pixel belongs to one of the categories that are known there or to
/// none: cross-entropy of a softmax over their logits and 0, which stands for none, plus the soft
/// Dice loss of its probabilities. One category is told from the other, so that fifty are learned
/// in the time that as many answers of yes or no are learned badly.
double exclusive_loss(const float* logits, const ChunkTargets& targets, float* gradient);

}  // namespace telvar::segmenter
