#include "files/lock.h"

#include "app/errors.h"
#include "app/text.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <cerrno>
#endif

namespace telvar_host {
namespace {

HostError in_use(const std::filesystem::path& path) {
  return usage_error(utf8(path.parent_path()) + ": another run is at work here");
}

}  // namespace

#ifdef _WIN32
FileLock::FileLock(const std::filesystem::path& path)
    : file_(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                        nullptr)) {
  if (file_ == INVALID_HANDLE_VALUE) throw in_use(path);
}

FileLock::~FileLock() {
  CloseHandle(file_);
}
#else
FileLock::FileLock(const std::filesystem::path& path)
    : file_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
  if (file_ < 0) throw failure("cannot create " + utf8(path));
  // Some network file systems know no locks: there nothing watches over it.
  if (flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
  close(file_);
  throw in_use(path);
}

FileLock::~FileLock() {
  close(file_);
}
#endif

}  // namespace telvar_host
