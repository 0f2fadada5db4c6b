#pragma once

// Network weights as plain bytes: no code, no pickles, every shape checked.

#include <torch/torch.h>

#include <map>
#include <string>

#include "core/bytes.h"

namespace telvar::core {

/// Parameters and buffers by name, sorted. Integer buffers (batch counters) are left out.
std::map<std::string, torch::Tensor> state_of(const torch::nn::Module& module);

/// A u32 count, then per tensor, by name: text name, u8 rank, u32 sizes, f32 values.
void write_state(ByteWriter& writer, const torch::nn::Module& module);

/// Fills a module of the same shape. Throws malformed_bytes when a name, rank or size differs from
/// the module's, a value is not finite, or a variance is negative.
void read_state(ByteReader& reader, torch::nn::Module& module);

/// Copies the state of one module into another of the same shape.
void copy_state(const torch::nn::Module& from, torch::nn::Module& to);

}  // namespace telvar::core
