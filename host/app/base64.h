// Bytes as text (RFC 4648, section 4).
#pragma once

#include <optional>
#include <string>

namespace telvar_host {

std::string to_base64(const std::string& bytes);
// White space is skipped; nothing for any other character, and for what no bytes give.
std::optional<std::string> from_base64(const std::string& text);

}  // namespace telvar_host
