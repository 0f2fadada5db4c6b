// The terminal and the command line of the platform.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace telvar_host {

bool stderr_is_terminal();

// Standard error for the program's own texts: not affected by `SilencedLibraries`.
std::FILE* own_stderr();

// While one is alive, what libraries print on standard error is lost. Image decoders print there
// what their results say as well. One at a time.
class SilencedLibraries {
 public:
  SilencedLibraries();
  ~SilencedLibraries();
  SilencedLibraries(const SilencedLibraries&) = delete;
  SilencedLibraries& operator=(const SilencedLibraries&) = delete;
};

// Writes and flushes all of `text`; false when that fails.
bool print_whole(std::FILE* stream, const std::string& text);

// Makes standard output take bytes as they are (UTF-8, no line end translation).
void prepare_console();

// The arguments as UTF-8, program name first.
std::vector<std::string> arguments(int argc, char** argv);

}  // namespace telvar_host
