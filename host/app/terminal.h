// The terminal and the command line of the platform.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace telvar_host {

bool stderr_is_terminal();

// Writes and flushes all of `text`; false when that fails.
bool print_whole(std::FILE* stream, const std::string& text);

// Makes standard output take bytes as they are (UTF-8, no line end translation).
void prepare_console();

// The arguments as UTF-8, program name first.
std::vector<std::string> arguments(int argc, char** argv);

}  // namespace telvar_host
