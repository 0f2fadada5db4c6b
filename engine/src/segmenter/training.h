#pragma once

// Trains a segmenter on prepared samples.

#include <string>
#include <vector>

#include "core/training_pool.h"
#include "segmenter/preparation.h"
#include "segmenter/state.h"

namespace telvar::segmenter {

struct TrainedModel {
  SegmenterState state;
  double score = 0;  // mean IoU on samples held out, 0..1
};

/// Trains on samples whose labels refer to `categories` (ascending). From `base`, if given, of
/// which every category is among them: then its exemplars are rehearsed beside the samples, and
/// far fewer steps are made. The result does not depend on the pool's threads.
TrainedModel train_model(const SegmenterState* base, const std::vector<std::string>& categories,
                         std::vector<PreparedSample> samples, core::TrainingPool& pool);

}  // namespace telvar::segmenter
