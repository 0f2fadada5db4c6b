// Which reading belongs to which mark.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "tools/reader_tool.h"

namespace telvar_host {

// Per mark (region pixels) the index of its reading, or nothing. Nearest pairs first, each reading
// used once, at most half a character apart (distance in units of the nominal size).
std::vector<std::optional<std::size_t>> match_marks(
    const std::vector<std::pair<double, double>>& marks, const std::vector<ReadCharacter>& read,
    const NominalSize& size);

}  // namespace telvar_host
