#pragma once

// Slightly changed copies of a sample: shifts, turns, sizes, light; mirrored, upside down or
// turned any way only where that was found to change no category.

#include "classifier/samples/dihedral.h"
#include "classifier/samples/preparation.h"
#include "core/random.h"

namespace telvar::classifier {

/// Writes the normalised values of a sample, height x width x channels floats.
void normalise(const Sample& sample, const Canvas& canvas, float* out);

/// `normalise` of a randomly changed sample; `strength` scales how much, 1 normally.
void augment(const Sample& sample, const Canvas& canvas, const Symmetry& symmetry, float strength,
             core::Random& random, float* out);

}  // namespace telvar::classifier
