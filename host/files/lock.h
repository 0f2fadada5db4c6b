// One program at a time.
#pragma once

#include <filesystem>

namespace telvar_host {

// Holds `path`, an empty file that is made for it, while alive; the system lets go of it however
// the program ends. Throws usage_error naming `path`'s folder when another program holds it.
class FileLock {
 public:
  explicit FileLock(const std::filesystem::path& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
#ifdef _WIN32
  void* file_;
#else
  int file_;
#endif
};

}  // namespace telvar_host
