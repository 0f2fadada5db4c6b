// Writing files and folders so that they are there whole or not at all.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace telvar_host {

class RemovedOnExit;

// Usage error when `path` is no file, exists and may not be replaced, or when its folder does not
// exist; failure when no file can be made there. For before the work whose result it is to hold.
void require_writable_file(const std::filesystem::path& path, bool force);

// Replaces or creates `path`: a temporary file beside it, flushed to disk, then renamed. What is
// replaced leaves its permissions.
void write_file(const std::filesystem::path& path, std::string_view bytes, bool force);

// A folder of results. Files are written into a hidden folder, inside `target` where that exists,
// beside it where not; `commit` makes them visible together (a new folder) or one after the other.
// Without `force` a target that exists and is not empty is refused at once, and `commit` refuses to
// replace what has come into it since; with it, the new files replace those of the same name and
// others stay. Parents that do not exist are made, and removed again if nothing comes of it.
class OutputFolder {
 public:
  OutputFolder(std::filesystem::path target, bool force);
  ~OutputFolder();

  // Writes `bytes` to `relative` inside the folder, making its parents.
  void write(const std::filesystem::path& relative, std::string_view bytes);
  void commit();

  const std::filesystem::path& target() const { return target_; }
  // Where the files are until `commit`.
  const std::filesystem::path& staging() const;

 private:
  void move_one_by_one();

  std::filesystem::path target_;
  bool force_;
  std::unique_ptr<RemovedOnExit> parents_;
  std::unique_ptr<RemovedOnExit> staging_;
};

}  // namespace telvar_host
