#pragma once

// A kernel ridge classifier on the features of the kept samples: strong when samples are few.
//
// Scores f(x) = sum_i k(x, x_i) a_i with k = exp(-sum_g w_g |x_g - y_g|^2) over the feature groups
// g; a = (K + ridge I)^-1 Y.

#include <functional>
#include <vector>

#include "classifier/dense.h"
#include "classifier/features.h"
#include "classifier/kernel_choice.h"
#include "core/bytes.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

/// All views of a block of samples that is described and compared at a time; a row takes about
/// 36 kB with its features.
constexpr int kKernelBlockRows = 1024;

/// The kernel of two samples is the mean over the first one's views that mean the same: as over
/// those of the second, since views undo each other.
class KernelMachine {
 public:
  /// The features of samples first .. last - 1 in each of the views, view by view; the samples
  /// themselves are the first view.
  using ViewsOf = std::function<std::vector<Features>(int first, int last)>;

  /// Learns from samples with a category index each (below `categories`). `views_of` is asked for
  /// blocks of them, so that all views of all samples never take memory at once. `held_out` takes
  /// the leave-one-out scores, samples x categories.
  static KernelMachine learn(const KernelChoice& choice, const std::vector<Features>& samples,
                             int views, const ViewsOf& views_of, const std::vector<int>& labels,
                             int categories, core::WorkerPool& pool, Matrix& held_out);

  /// Scores, samples x categories, of samples given view by view.
  Matrix scores(const std::vector<Features>& all_views, int views, core::WorkerPool& pool) const;

  int samples() const { return coefficients_.rows(); }

  /// The landmarks themselves are not written: they are the kept samples' features.
  void write(core::ByteWriter& writer) const;
  /// The machine lacks its landmarks until they are placed. Throws core::malformed_bytes.
  static KernelMachine read(core::ByteReader& reader, int samples, int categories);
  /// The samples that were learned.
  void place_landmarks(const std::vector<Features>& samples);

 private:
  Matrix kernel_of(const std::vector<Features>& all_views, int views, core::WorkerPool& pool) const;

  KernelChoice choice_;
  Matrix landmarks_;            // samples x weighted features
  std::vector<float> squares_;  // of the landmarks' lengths
  Matrix coefficients_;         // samples x categories
  std::vector<float> offsets_;  // per category
};

}  // namespace telvar::classifier
