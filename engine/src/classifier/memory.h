#pragma once

// What a trained classifier remembers of its training set.

#include <string>
#include <vector>

#include "classifier/canvas.h"

namespace telvar::classifier {

/// A training sample that the artifact keeps: landmark of the kernel machine, and memory of its
/// category for later trainings.
struct KeptSample {
  int category;  // index
  int fold;      // held out by the network of this number, if there is one
  Sample pixels;
};

struct Memory {
  std::vector<std::string> categories;  // ascending
  std::vector<KeptSample> kept;
};

}  // namespace telvar::classifier
