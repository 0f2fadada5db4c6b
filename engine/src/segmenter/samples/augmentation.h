#pragma once

// How a training crop differs from the image that it was cut from: in its outlines and its light.

#include <vector>

#include "core/random.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// Crops of few images are changed more: nothing else shows what the next image may look like.
enum class Strength { kNormal, kOfFewImages };

/// A place in a tile, tile pixels, held inside it.
struct Position {
  float x, y;
};

/// Where the pixels of a crop of side x side around `centre` lie, row by row: turned, mirrored,
/// stretched; of few images bent as well, and turned any way.
std::vector<Position> place_crop(const TrainingTile& tile, const Position& centre, int side,
                                 Strength strength, core::Random& random);

/// Changes contrast, brightness and gamma of all planes (side x side each, 0..1) alike, and adds
/// noise and a wave of light, so that how bright a thing is tells less than its shape and texture;
/// of few images more, of half of the crops in colour less. `deviation`: of the training images'
/// luma.
void vary_light(std::vector<float>& pixels, int side, float deviation, Strength strength,
                core::Random& random);

}  // namespace telvar::segmenter
