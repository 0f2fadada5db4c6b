// The files of results that `batch` and `merge` write.
#pragma once

#include <string>
#include <vector>

#include "app/json.h"
#include "app/tool_kind.h"

namespace telvar_host {

// A record for each entry: `file`, what its tool says (docs/host.md, "What is predicted"), `error`.
// An entry is a prediction with its "file", or has an "error" instead of one.
std::string results_csv(ToolKind tool, const std::vector<Json>& entries);

std::size_t failures_in(const std::vector<Json>& entries);

}  // namespace telvar_host
