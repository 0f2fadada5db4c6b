// What lies in the folder of a data set but is no part of it.
#pragma once

#include <filesystem>
#include <vector>

#include "datasets/problems.h"

namespace telvar_host {

// Adds to `unused` every image, of whatever kind, below the folder `source` that is not among
// `known`, and every link to a folder that is followed to none of them. A `source` that is a list
// says itself what belongs to it: nothing is added.
void report_unused(const std::filesystem::path& source,
                   const std::vector<std::filesystem::path>& known, Problems& unused);

}  // namespace telvar_host
