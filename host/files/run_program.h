// Running another program.
#pragma once

#include <string>
#include <vector>

namespace telvar_host {

// Runs `program` (looked for on the search path) with `arguments` and waits for it. Throws failure
// when it cannot be started, which names the Debian `package` it is in, or does not return 0.
void run_program(const std::string& program, const std::vector<std::string>& arguments,
                 const std::string& package);

}  // namespace telvar_host
