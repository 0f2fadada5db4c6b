#include "text/utf8.h"

#include <cstddef>

namespace telvar::text {
namespace {

struct Decoded {
  Character character;
  std::size_t length;  // in bytes
};

/// The number of bytes that a sequence with this first byte has; 0 for none.
std::size_t sequence_length(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first < 0xE0) return 2;
  if (first >= 0xE0 && first < 0xF0) return 3;
  if (first >= 0xF0 && first < 0xF5) return 4;
  return 0;
}

bool well_formed(Character character, std::size_t length) {
  constexpr Character kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = character >= 0xD800 && character < 0xE000;
  return character >= kSmallest[length] && character < kStrayByte && !surrogate;
}

/// Requires position < bytes.size().
Decoded decode(const std::string& bytes, std::size_t position) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[position + i]); };
  const Decoded stray{kStrayByte + byte(0), 1};
  const std::size_t length = sequence_length(byte(0));
  if (length == 0 || length > bytes.size() - position) return stray;
  if (length == 1) return {byte(0), 1};
  Character character = byte(0) & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0u) != 0x80u) return stray;
    character = character << 6 | (byte(i) & 0x3Fu);
  }
  return well_formed(character, length) ? Decoded{character, length} : stray;
}

}  // namespace

std::vector<Character> characters_of(const std::string& bytes) {
  std::vector<Character> characters;
  for (std::size_t position = 0; position < bytes.size();) {
    const Decoded decoded = decode(bytes, position);
    characters.push_back(decoded.character);
    position += decoded.length;
  }
  return characters;
}

std::optional<Character> single_character(const std::string& bytes) {
  if (bytes.empty()) return std::nullopt;
  const Decoded decoded = decode(bytes, 0);
  if (decoded.length != bytes.size()) return std::nullopt;
  return decoded.character;
}

}  // namespace telvar::text
