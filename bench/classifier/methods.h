#pragma once

// The methods that are compared, each trained and tested on the same images.

#include <string>

#include "../common/cpu_seconds.h"
#include "labelled_images.h"

namespace bench {

struct Outcome {
  double accuracy = 0;       // share of the test images
  double train_seconds = 0;  // CPU
  double single_ms = 0;      // CPU, one image at a time
  double own_estimate = -1;  // of the accuracy, by the method itself; -1: none
  double calibration = -1;   // expected calibration error over ten bins; -1: none
  double foreign = -1;       // share of the images of categories that were not trained whose
                             // confidence reaches that of nine tenths of the right answers
};

/// The engine, at this effort. Test images of categories that `train` has none of are foreign, and
/// count for nothing else.
Outcome run_engine(const LabelledImages& train, const LabelledImages& test, int effort);

/// Histograms of oriented gradients and a support vector machine with a radial kernel, both
/// OpenCV's.
Outcome run_hog_svm(const LabelledImages& train, const LabelledImages& test);

using telvar::bench::cpu_seconds;

}  // namespace bench
