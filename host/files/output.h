// Writing files and folders so that they are there whole or not at all.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace telvar_host {

class RemovedOnExit;

// The bytes of a file. Throws data_error naming the path when it cannot be read or is larger than
// `limit` bytes.
std::string read_file(const std::filesystem::path& path,
                      std::uintmax_t limit = std::uintmax_t{1} << 34);

// Usage error when `path` exists and may not be replaced, or when its folder does not exist.
void require_writable_file(const std::filesystem::path& path, bool force);

// Replaces or creates `path`: a temporary file beside it, flushed to disk, then renamed.
void write_file(const std::filesystem::path& path, std::string_view bytes, bool force);

// A folder of results. Files are written into a hidden folder beside `target`; `commit` makes them
// visible together. Without `force` a target that exists and is not empty is refused at once; with
// it, the new files replace those of the same name one by one and other files stay. Parents that do
// not exist are made, and removed again if nothing comes of it.
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
  void replace_one_by_one();

  std::filesystem::path target_;
  std::unique_ptr<RemovedOnExit> parents_;
  std::unique_ptr<RemovedOnExit> staging_;
};

}  // namespace telvar_host
