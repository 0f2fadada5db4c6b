#pragma once

// How unlike a sample is to what was learned, and flatter scores for samples that are more so than
// most held-out ones: an image of a category that was never trained should not look certain.

#include <optional>
#include <vector>

#include "classifier/kernel/machine.h"
#include "classifier/kernel/matrix.h"
#include "core/bytes.h"

namespace telvar::classifier {

/// What is usual for held-out samples that are recognised. The novelty of a sample whose answer is
/// category c is the sum of two standard scores: that of its residual, the squared distance of its
/// kernel scores from those of a perfect sample of c, and that of its distance from c's landmarks
/// beyond `usual_distances[c]`; and, where covariances are compared, of the same by covariances.
struct Novelty {
  std::vector<float> usual_distances;    // a mean per category
  std::vector<float> usual_covariances;  // likewise by covariances; empty: not compared
  float usual_residual = 0;              // mean
  float residual_scale = 1, distance_scale = 1, covariance_scale = 1;  // deviations, above 0
  float flat_from = 0, flattest_from = 1;  // novelty; the latter is higher
};

/// From the held-out scores of samples (stacked) and the kernel machine's held-out answer. Nothing
/// where too few samples are recognised to say what is usual.
std::optional<Novelty> measure_novelty(const Matrix& scores, const KernelAnswer& kernel,
                                       const std::vector<int>& labels);

/// Mixes the scores of novel samples with equal ones, in place: from nothing at `flat_from` to as
/// far as they ever are at `flattest_from`. Their order stays.
void flatten(const Novelty& novelty, const KernelAnswer& kernel, Matrix& scores);

void write_novelty(core::ByteWriter& writer, const std::optional<Novelty>& novelty);
/// Of this version of the payload, 2 or above. Throws core::malformed_bytes.
std::optional<Novelty> read_novelty(core::ByteReader& reader, int categories,
                                    std::uint32_t version);

}  // namespace telvar::classifier
