// The size of an image before it is decoded.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace telvar_host {

// Width and height as the header of a PNG, JPEG, BMP, PNM, TIFF or WebP says, or nothing where it
// is none of these or damaged: decoding says what is wrong with it.
std::optional<std::pair<std::uint64_t, std::uint64_t>> size_in_header(const std::string& bytes);

}  // namespace telvar_host
