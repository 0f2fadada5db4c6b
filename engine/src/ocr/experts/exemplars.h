#pragma once

#include <vector>

#include "core/random.h"
#include "ocr/samples/preparation.h"

namespace telvar::ocr {

/// Cut-outs, each around a label of the category that the ones before show least often, until all
/// labels are shown or there are kMaxExemplars: rare categories come first, and of very many
/// categories those with the highest indexes may get none. Whatever labels and unlabelled places
/// stand in a cut-out come along. Depends on its arguments alone.
std::vector<PreparedSample> choose_exemplars(const std::vector<const PreparedSample*>& samples,
                                             int categories, core::Random& random);

}  // namespace telvar::ocr
