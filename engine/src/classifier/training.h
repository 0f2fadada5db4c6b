#pragma once

// From a joined training set to a trained classifier.

#include "classifier/state.h"
#include "classifier/training_set.h"

namespace telvar::classifier {

struct TrainedClassifier {
  ClassifierState state;
  double held_out_accuracy = 0;
};

/// `before` may be null; `canvas` is its canvas then.
TrainedClassifier train_classifier(const TrainingSet& set, const Canvas& canvas,
                                   const ClassifierState* before, int nets, int effort,
                                   core::TrainingPool& pool);

}  // namespace telvar::classifier
