// Writing files and folders so that they are there whole or not at all.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "files/lock.h"

namespace telvar_host {

class RemovedOnExit;

// Usage error when `path` is no file, exists and may not be replaced, or when its folder does not
// exist; failure when no file can be made there. For before the work whose result it is to hold.
void require_writable_file(const std::filesystem::path& path, bool force);

// While alive, `bytes` of the disk are kept free for a file that is to be written to `path`; end it
// just before. Failure when there is no room for them.
class ReservedSpace {
 public:
  ReservedSpace(const std::filesystem::path& path, std::uint64_t bytes);
  ~ReservedSpace();
  ReservedSpace(const ReservedSpace&) = delete;
  ReservedSpace& operator=(const ReservedSpace&) = delete;

 private:
  std::unique_ptr<RemovedOnExit> file_;
};

// Replaces or creates `path`: a temporary file beside it, flushed to disk, then renamed. What is
// replaced leaves its permissions.
void write_file(const std::filesystem::path& path, std::string_view bytes, bool force);

// What becomes of a folder's files when the program ends before `commit`.
enum class Unfinished { kRemoved, kKept };

// A folder of results. Files are written into a hidden folder, inside `target` where that exists,
// beside it where not; `commit` makes them visible together (a new folder) or one after the other.
// Without `force` a target that exists and is not empty is refused at once, and `commit` refuses to
// replace what has come into it since; with it, the new files replace those of the same name and
// others stay. Parents that do not exist are made, and removed again if nothing comes of it.
//
// With kKept the hidden folder is TARGET/unfinished instead. It is found again by the next run once
// `keep_unfinished` was called, and a second program is refused while one works in it. Hidden files
// directly in it are the run's own and not made visible; results.json is moved last.
class OutputFolder {
 public:
  OutputFolder(const std::filesystem::path& target, bool force,
               Unfinished unfinished = Unfinished::kRemoved);
  ~OutputFolder();

  // Writes `bytes` to `relative` inside the folder, making its parents.
  void write(const std::filesystem::path& relative, std::string_view bytes);
  // Adds to a file, flushed.
  void append(const std::filesystem::path& relative, std::string_view bytes);
  void commit();

  // Whether there are files of an earlier run.
  bool resumed() const { return resumed_; }
  void keep_unfinished();
  // Forgets the files of an earlier run.
  void discard_unfinished();

  const std::filesystem::path& target() const { return target_; }
  // Where the files are until `commit`.
  const std::filesystem::path& staging() const;

 private:
  void require_free(const std::filesystem::path& given) const;
  void make_folders(const std::filesystem::path& parent);
  void move_one_by_one();

  std::filesystem::path target_;
  bool force_;
  Unfinished unfinished_;
  bool resumed_ = false;
  std::unique_ptr<FileLock> lock_;
  std::unique_ptr<RemovedOnExit> parents_;
  std::unique_ptr<RemovedOnExit> staging_;
};

}  // namespace telvar_host
