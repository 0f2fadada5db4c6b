// What is said of a command line that cannot be understood.
#pragma once

#include <CLI/App.hpp>
#include <string>

namespace telvar_host {

// Why `app` refused its arguments, and what may have been meant.
std::string explained(const CLI::App& app, const CLI::ParseError& error);

// Whether a command was named that there is not, as in "telvar predict --help": CLI11 shows the
// program's help for it.
bool names_no_command(const CLI::App& app);

}  // namespace telvar_host
