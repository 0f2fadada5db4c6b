// The terminal and the command line of the platform.
#pragma once

#include <string>
#include <vector>

namespace telvar_host {

bool stderr_is_terminal();

// Makes standard output take bytes as they are (UTF-8, no line end translation).
void prepare_console();

// The arguments as UTF-8, program name first.
std::vector<std::string> arguments(int argc, char** argv);

}  // namespace telvar_host
