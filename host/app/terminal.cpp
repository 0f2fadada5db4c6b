#include "app/terminal.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// After windows.h, which it needs.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <filesystem>
#else
#include <unistd.h>
#endif

namespace telvar_host {

#ifdef _WIN32
bool stderr_is_terminal() {
  return _isatty(_fileno(stderr)) != 0;
}

void prepare_console() {
  SetConsoleOutputCP(CP_UTF8);
  _setmode(_fileno(stdout), _O_BINARY);
}

std::vector<std::string> arguments(int, char**) {
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> result;
  for (int i = 0; i < count; ++i) result.push_back(std::filesystem::path(wide[i]).u8string());
  LocalFree(wide);
  return result;
}
#else
bool stderr_is_terminal() {
  return isatty(STDERR_FILENO) != 0;
}

void prepare_console() {}

std::vector<std::string> arguments(int argc, char** argv) {
  return {argv, argv + argc};
}
#endif

bool print_whole(std::FILE* stream, const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
         std::fflush(stream) == 0;
}

}  // namespace telvar_host
