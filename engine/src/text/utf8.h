#pragma once

// Characters of byte strings that should be, but need not be, UTF-8.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace telvar::text {

/// A Unicode code point, or kStrayByte + b for a byte b that is not part of a well-formed UTF-8
/// sequence (RFC 3629): text in an old code page keeps one character a byte, equal to itself and to
/// no code point.
using Character = std::uint32_t;

constexpr Character kStrayByte = 0x110000;

std::vector<Character> characters_of(const std::string& bytes);

/// The character when `bytes` holds exactly one.
std::optional<Character> single_character(const std::string& bytes);

}  // namespace telvar::text
