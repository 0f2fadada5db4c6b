#include "files/platform.h"

#include <charconv>
#include <functional>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <vector>
#else
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#endif

namespace telvar_host {
namespace {

// Tells machines apart, and containers that count processes for themselves.
std::string machine_name();
unsigned long process_number();
bool runs(unsigned long process);

std::string prefix_of_tags_here() {
  return std::to_string(std::hash<std::string>()(machine_name()) & 0xffffffff) + "-";
}

}  // namespace

std::string process_tag() {
  return prefix_of_tags_here() + std::to_string(process_number());
}

bool has_ended(const std::string& tag) {
  const auto here = prefix_of_tags_here();
  if (tag.compare(0, here.size(), here) != 0) return false;
  unsigned long process = 0;
  const char* end = tag.data() + tag.size();
  const auto read = std::from_chars(tag.data() + here.size(), end, process);
  return read.ec == std::errc() && read.ptr == end && !runs(process);
}

#ifdef _WIN32
void flush_to_disk(const std::filesystem::path& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  FlushFileBuffers(file);
  CloseHandle(file);
}

std::string reserve(const std::filesystem::path& file, std::uint64_t bytes) {
  std::error_code unknown;
  const auto space = std::filesystem::space(file.parent_path(), unknown);
  return unknown || space.available >= bytes ? "" : "the disk is full";
}

namespace {

std::string machine_name() {
  char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
  DWORD size = sizeof name;
  GetComputerNameA(name, &size);
  return name;
}

unsigned long process_number() {
  return GetCurrentProcessId();
}

bool runs(unsigned long process) {
  const HANDLE handle = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process);
  if (handle == nullptr) return GetLastError() != ERROR_INVALID_PARAMETER;
  DWORD code = 0;
  const bool known = GetExitCodeProcess(handle, &code);
  CloseHandle(handle);
  return !known || code == STILL_ACTIVE;
}

}  // namespace

std::filesystem::path program_folder() {
  std::vector<wchar_t> buffer(32768);
  const DWORD length =
      GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  return std::filesystem::path(buffer.data(), buffer.data() + length).parent_path();
}
#else
void flush_to_disk(const std::filesystem::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return;
  fsync(file);
  close(file);
}

std::string reserve(const std::filesystem::path& path, std::uint64_t bytes) {
  const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (file < 0) return std::generic_category().message(errno);
  const int refused = posix_fallocate(file, 0, static_cast<off_t>(bytes));
  close(file);
  const bool full = refused == ENOSPC || refused == EDQUOT || refused == EFBIG;
  return full ? std::generic_category().message(refused) : "";
}

namespace {

std::string machine_name() {
  char name[256] = {};
  gethostname(name, sizeof name - 1);
  std::error_code unknown;
  return name + std::filesystem::read_symlink("/proc/self/ns/pid", unknown).string();
}

unsigned long process_number() {
  return static_cast<unsigned long>(getpid());
}

bool runs(unsigned long process) {
  return kill(static_cast<pid_t>(process), 0) == 0 || errno != ESRCH;
}

}  // namespace

std::filesystem::path program_folder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path(".") : program.parent_path();
}
#endif

}  // namespace telvar_host
