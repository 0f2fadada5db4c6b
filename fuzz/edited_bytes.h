#pragma once

// Inputs that are edits of a sound file: small enough to keep, deep enough to get behind checksums.

#include <algorithm>
#include <string>

#include "fuzz_input.h"

namespace telvar::fuzz {

/// Applies edits to `bytes` until the input ends. An edit is an offset (4 bytes, taken modulo the
/// size), a length (1 byte) and as many bytes to write there; length 0 cuts the bytes off there,
/// length 255 appends the two bytes that follow.
inline std::string edited(std::string bytes, Input& input) {
  while (!input.empty() && !bytes.empty()) {
    const std::size_t offset = input.number<std::uint32_t>() % bytes.size();
    const std::size_t length = input.number<std::uint8_t>();
    if (length == 0) {
      bytes.resize(offset);
    } else if (length == 255) {
      bytes += input.bytes(2);
    } else {
      const std::string patch = input.bytes(std::min(length, bytes.size() - offset));
      bytes.replace(offset, patch.size(), patch);
    }
  }
  return bytes;
}

}  // namespace telvar::fuzz
