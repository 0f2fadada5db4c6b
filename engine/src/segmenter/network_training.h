#pragma once

// Fills a training's chunks with crops, for the fine network and for that of the context alike.

#include <vector>

#include "nn/training.h"
#include "segmenter/network/loss.h"
#include "segmenter/samples/crops.h"

namespace telvar::segmenter {

/// Eight crops a step. Each chunk is normalised and compared (Dice) on its own, and two crops are
/// too few for either: faint marks were lost.
constexpr int kChunks = 2;
constexpr int kCropsPerChunk = 4;

/// Where a training's crops come from: `fresh` and, in turn with it, `rehearsed` if it has any.
struct Lesson {
  CropSource fresh, rehearsed;
  bool rehearses = false;
  Loss loss = segmentation_loss;
};

/// Trains a network on crops of a lesson in place.
void train_network(nn::Network& net, const Lesson& lesson, nn::TrainingPlan plan,
                   core::TrainingPool& pool);

}  // namespace telvar::segmenter
