#pragma once

#include "nn/network.h"

namespace telvar::segmenter {

/// The built-in base network, which every training from nothing starts from: it has seen textures,
/// faults, shapes and things on many grounds. It takes the planes of colour images and tells the
/// categories of its own scenes apart. engine/base/segmenter/README.md has its recipe. Read anew
/// from the library's own memory at each call.
nn::Network built_in_base();

}  // namespace telvar::segmenter
