#pragma once

// Reads a region with every expert of a reader, and takes the one that knows its marks.

#include "ocr/experts/expert.h"
#include "ocr/experts/inference.h"

namespace telvar::ocr {

/// An expert as reading uses it. Immutable; any number of threads.
class ExpertInference {
 public:
  /// `categories`, which hold the expert's own, are those of its answers.
  ExpertInference(const Expert& expert, const std::vector<std::string>& categories,
                  Precision precision = Precision::kBest);

  /// The characters of a region in reading pixels, with calibrated scores.
  std::vector<FoundCharacter> recognise(const GraySource& source, core::WorkerPool& pool) const;

 private:
  NetworkInference net_;
  Spacing spacing_;
  float sharpness_;
  int categories_;
  std::vector<int> position_;  // of the expert's categories among those of the answers
};

/// What the characters that an expert reads say for it: the sum of 1 + 2 log2(best score). Every
/// certain character counts 1, one of 0.71 nothing, less certain ones against it. Of two experts
/// for different markings the right one was told so for 99 % of the images (bench/ocr: 56 pairs of
/// eight styles).
double evidence(const std::vector<FoundCharacter>& found);

/// What the expert with the most evidence reads; the first of several.
std::vector<FoundCharacter> recognise_best(const std::vector<ExpertInference>& experts,
                                           const GraySource& source, core::WorkerPool& pool);

}  // namespace telvar::ocr
