// A folder that images come into.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "commands/commands.h"

namespace telvar_host {

// Calls `process` for every image directly in `folder` and, as they come, for others; a file is
// taken once its size and time stay the same for half a second. The result is printed at once: a
// line of JSON, or text. Returns an empty outcome when the program is interrupted, after the image
// at hand; a second interrupt ends the program as usual. Throws data_error when the folder goes
// away.
Outcome watch(const std::filesystem::path& folder, bool json,
              const std::function<Json(const std::string& image)>& process);

}  // namespace telvar_host
