#pragma once

// The network of the reader.

#include <vector>

#include "core/random.h"
#include "nn/network.h"

namespace telvar::ocr {

/// The receptive field of a cell: how far around it, in reading pixels, its answer looks. 6 up to
/// the first cells (2 of the stem, 2 of the fine layer, 2 of the step down) and 4 for each of the 7
/// dilations after it, in whole cells.
constexpr int kReceptiveRadius = 36;

/// What a cell answers, channel by channel: the logit that a character is here, the offset from the
/// cell's centre to its centre (x, y, in characters), and then a logit per category.
enum AnswerChannel { kObjectness = 0, kOffsetX = 1, kOffsetY = 2, kFirstCategory = 3 };

/// The layers of a reader, not initialised. Fully convolutional: contrast-normalised gray at
/// reading scale, its sides multiples of kCellStride, to kFirstCategory + categories channels a
/// cell.
nn::Network network_layers(int categories);

/// A network that has learned nothing yet; its weights depend on `random` alone. It starts at
/// "rarely a character", so that background does not drown the first steps.
nn::Network make_network(int categories, core::Random& random);

/// The number of categories that a reader's network tells apart.
int categories_of(const nn::Network& net);

/// A network for other categories that answers the same for those that it shares with `net`:
/// `position` gives the new index of every old category, nn::kNone where there is none. The weights
/// of new ones start small, from `random`.
nn::Network widened(const nn::Network& net, int categories, const std::vector<int>& position,
                    core::Random& random);

}  // namespace telvar::ocr
