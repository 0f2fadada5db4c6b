#pragma once

// The segmenter's network: strided convolutions down to a sixteenth of the resolution and back up,
// joined with what was seen on the way down (U-Net, Ronneberger et al. 2015); one logit per pixel
// and category.

#include <cstdint>
#include <vector>

#include "nn/network.h"

namespace telvar::segmenter {

/// Sides of the network's input are multiples of this.
constexpr int kSideMultiple = 16;

/// `side` or the next such multiple.
constexpr int rounded_up(int side) {
  return (side + kSideMultiple - 1) / kSideMultiple * kSideMultiple;
}

/// The layers, not initialised: images x H x W x planes to logits, a channel for each category; H
/// and W multiples of kSideMultiple.
nn::Network network_layers(int planes, int categories);

/// A network with initial weights that depend on `seed` alone.
nn::Network make_initial_net(int planes, int categories, std::uint64_t seed);

/// A network that begins with what `base` has learned, but for its answers, which start afresh from
/// `seed`. `planes` may be fewer than the base takes: then they are the base's first ones.
nn::Network make_net_from(const nn::Network& base, int planes, int categories, std::uint64_t seed);

/// Things of which a network takes over the old ones: old one i stands at places[i] of `count` now.
struct Growth {
  int count = 0;
  std::vector<int> places;
};

/// A network that does what `old` does, with more input planes (whose weights start at 0) and more
/// categories (which start afresh from `seed`).
nn::Network grow_net(const nn::Network& old, const Growth& planes, const Growth& categories,
                     std::uint64_t seed);

}  // namespace telvar::segmenter
