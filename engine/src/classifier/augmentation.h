#pragma once

// Slightly different views of a sample: shifts, turns, sizes, light. Never mirrored: letters and
// digits change their meaning.

#include "classifier/canvas.h"
#include "core/random.h"

namespace telvar::classifier {

/// Writes the normalised values of a sample, channels x height x width floats.
void normalise(const Sample& sample, const Canvas& canvas, float* out);

/// `normalise` of a randomly changed sample.
void augment(const Sample& sample, const Canvas& canvas, core::Random& random, float* out);

}  // namespace telvar::classifier
