#include "files/platform.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <vector>
#else
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#endif

namespace telvar_host {

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

std::string process_tag() {
  return std::to_string(GetCurrentProcessId());
}

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

std::string process_tag() {
  return std::to_string(getpid());
}

std::filesystem::path program_folder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path(".") : program.parent_path();
}
#endif

}  // namespace telvar_host
