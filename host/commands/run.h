// From arguments to exit code.
#pragma once

#include <string>
#include <vector>

namespace telvar_host {

// Parses the arguments (program name first), runs the command, prints its outcome or error, and
// returns the exit code. Standard output gets the outcome alone; everything else goes to standard
// error.
int run(const std::vector<std::string>& arguments);

}  // namespace telvar_host
