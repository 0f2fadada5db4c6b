#pragma once

// A kernel ridge classifier on the features of the exemplars: strong when samples are few.
//
// Scores f(x) = sum_i k(x, x_i) a_i with k = exp(-sum_g w_g |x_g - y_g|^2) over the feature groups
// g; a = (K + ridge I)^-1 Y.

#include <vector>

#include "classifier/kernel/choice.h"
#include "classifier/kernel/features.h"
#include "classifier/kernel/matrix.h"
#include "classifier/kernel/neighbours.h"
#include "core/bytes.h"
#include "core/worker_pool.h"

namespace telvar::classifier {

/// What a kernel machine says of samples, each samples x categories.
struct KernelAnswer {
  Matrix scores;
  Matrix distances;  // from the landmarks of each category that are most alike, 0 or more
  Matrix covariance_distances;  // likewise, by covariances; empty where they are not compared

  /// Space for so many samples, with covariance distances or without.
  static KernelAnswer of(int samples, int categories, bool covariances);
  void copy_row(int row, const KernelAnswer& from, int from_row);
};

/// The kernel of two samples is the mean over the orders in which the first one means the same.
/// That is the mean over the orders of the second as well, since the orders come from a group of
/// transforms, which undo each other.
class KernelMachine {
 public:
  /// Learns from samples with a category index each (below `categories`), that mean the same in all
  /// `orders`, of which there is at least the one that leaves them as they are. `held_out` takes
  /// the leave-one-out answer.
  static KernelMachine learn(const KernelChoice& choice, const std::vector<Features>& samples,
                             const std::vector<FeatureOrder>& orders,
                             const std::vector<int>& labels, int categories, core::WorkerPool& pool,
                             KernelAnswer& held_out);

  /// How alike samples and landmarks are, 0..1, samples x landmarks.
  Matrix similarities(const std::vector<Features>& samples, core::WorkerPool& pool) const;

  KernelAnswer answer(const std::vector<Features>& samples, core::WorkerPool& pool) const;

  int samples() const { return coefficients_.rows(); }
  /// Those that samples must be described by.
  FeatureGroups groups() const;

  /// The landmarks themselves are not written: they are the exemplars' features.
  void write(core::ByteWriter& writer) const;
  bool compares_covariances() const { return compares_covariances_; }
  /// Before landmarks are placed: no answer is to tell distances by covariances.
  void leave_out_covariances() { compares_covariances_ = false; }

  /// Of the first `groups` feature groups. The machine lacks its landmarks until they are placed.
  /// Throws core::malformed_bytes.
  static KernelMachine read(core::ByteReader& reader, int groups, int samples, int categories);
  /// The samples that were learned, their categories, and the orders in which they are alike.
  void place_landmarks(const std::vector<Features>& samples, const std::vector<int>& labels,
                       const std::vector<FeatureOrder>& orders);

 private:
  /// Distances from the categories, by the similarities to all landmarks but the one at `skipped`.
  void distances_by(const float* similarities, int skipped, float* distances) const;

  KernelChoice choice_;
  std::vector<int> labels_;               // of the landmarks
  Matrix landmarks_;                      // samples x weighted features
  std::vector<float> squares_;            // of the landmarks' lengths
  std::vector<std::vector<int>> orders_;  // of the weighted features, in each order
  Matrix coefficients_;                   // samples x categories
  std::vector<float> offsets_;            // per category
  bool compares_covariances_ = true;      // whatever they weigh
  Neighbours by_covariance_;
};

}  // namespace telvar::classifier
