#pragma once

// A kernel ridge classifier on the features of the kept samples: strong when samples are few.
//
// Scores f(x) = sum_i k(x, x_i) a_i with k = exp(-sum_g w_g |x_g - y_g|^2) over the feature groups
// g; a = (K + ridge I)^-1 Y. Groups, width and ridge are chosen by leave-one-out error, which has a
// closed form (Rifkin and Lippert, 2007).

#include <vector>

#include "classifier/features.h"
#include "core/bytes.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

class KernelMachine {
 public:
  /// Learns from samples with a category index each (below `categories`). `held_out` takes the
  /// leave-one-out scores, samples x categories.
  static KernelMachine learn(const std::vector<Features>& samples, const std::vector<int>& labels,
                             int categories, core::WorkerPool& pool, Matrix& held_out);

  /// Scores, samples x categories.
  Matrix scores(const std::vector<Features>& samples, core::WorkerPool& pool) const;

  int samples() const { return coefficients_.rows(); }

  /// The landmarks themselves are not written: they are the kept samples' features.
  void write(core::ByteWriter& writer) const;
  /// Throws core::malformed_bytes.
  static KernelMachine read(core::ByteReader& reader, const std::vector<Features>& landmarks,
                            int categories);

 private:
  std::vector<float> group_weights_;  // per group; width and scale included
  float ridge_ = 0;
  Matrix landmarks_;            // samples x weighted features
  std::vector<float> squares_;  // of the landmarks' lengths
  Matrix coefficients_;         // samples x categories
  std::vector<float> offsets_;  // per category
};

}  // namespace telvar::classifier
