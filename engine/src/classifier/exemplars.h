#pragma once

// The exemplar memory: what a trained classifier keeps of its training set, so that fine-tuning on
// other samples forgets little.

#include <string>
#include <vector>

#include "classifier/samples/preparation.h"

namespace telvar::classifier {

/// A training sample that the artifact keeps: a landmark of the kernel machine, and taught again
/// when the classifier is fine-tuned.
struct Exemplar {
  int category;  // index
  int fold;      // held out by the network of this number, if there is one
  Sample pixels;
};

struct ExemplarMemory {
  std::vector<std::string> categories;  // ascending
  std::vector<Exemplar> exemplars;
};

}  // namespace telvar::classifier
