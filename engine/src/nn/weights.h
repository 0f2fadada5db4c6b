#pragma once

// Network weights as plain bytes: no code, every shape checked.

#include "core/bytes.h"
#include "nn/network.h"

namespace telvar::nn {

/// A u32 count, then per parameter, by name: text name, u8 rank, u32 sizes, f32 values.
void write_weights(core::ByteWriter& writer, const Network& network);

/// Fills a network of the same layers. Throws core::malformed_bytes when a name, rank or size
/// differs from the network's, a value is not finite, or a variance is negative.
void read_weights(core::ByteReader& reader, Network& network);

}  // namespace telvar::nn
