// Reading files, with errors that name them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace telvar_host {

// A file or pipe, read from its start. Throws data_error naming the path when it cannot be read.
class InputFile {
 public:
  explicit InputFile(std::filesystem::path path);

  // Up to `count` further bytes, fewer where the file ends. Takes memory for what is there only.
  std::string read(std::uintmax_t count);

 private:
  std::filesystem::path path_;
  std::ifstream stream_;
};

// All bytes. Throws data_error also when there are more than `limit`.
std::string read_file(const std::filesystem::path& path,
                      std::uintmax_t limit = std::uintmax_t{1} << 34);

}  // namespace telvar_host
