#pragma once

#include <charconv>
#include <string>

namespace telvar::core {

/// The fewest digits that give the value back, in any locale.
inline std::string text_of(float value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

}  // namespace telvar::core
