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
#include <fcntl.h>
#include <unistd.h>
#endif

namespace telvar_host {
namespace {

#ifdef _WIN32
int duplicate(int descriptor) {
  return _dup(descriptor);
}
void replace(int descriptor, int by) {
  _dup2(by, descriptor);
}
int open_null() {
  return _open("NUL", _O_WRONLY);
}
std::FILE* stream_on(int descriptor) {
  return _fdopen(descriptor, "wb");
}
#else
int duplicate(int descriptor) {
  return fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
}
void replace(int descriptor, int by) {
  dup2(by, descriptor);
}
int open_null() {
  return open("/dev/null", O_WRONLY | O_CLOEXEC);
}
std::FILE* stream_on(int descriptor) {
  return fdopen(descriptor, "w");
}
#endif

constexpr int kStandardError = 2;

// Standard error as the program was started with it; -1 when it was closed.
int original_stderr() {
  static const int descriptor = duplicate(kStandardError);
  return descriptor;
}

}  // namespace

std::FILE* own_stderr() {
  static std::FILE* const stream = [] {
    const int descriptor = original_stderr();
    std::FILE* own = descriptor < 0 ? nullptr : stream_on(descriptor);
    return own == nullptr ? stderr : own;
  }();
  return stream;
}

SilencedLibraries::SilencedLibraries() {
  static const int null = open_null();
  if (original_stderr() >= 0 && null >= 0) replace(kStandardError, null);
}

SilencedLibraries::~SilencedLibraries() {
  if (original_stderr() >= 0) replace(kStandardError, original_stderr());
}

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
