#include "files/input.h"

#include <algorithm>
#include <utility>

#include "app/errors.h"
#include "app/text.h"

namespace fs = std::filesystem;

namespace telvar_host {

InputFile::InputFile(fs::path path) : path_(std::move(path)) {
  std::error_code error;
  if (!fs::exists(path_, error)) throw data_error(utf8(path_) + ": no such file");
  if (fs::is_directory(path_, error)) throw data_error(utf8(path_) + ": is a folder, not a file");
  stream_.open(path_, std::ios::binary);
  if (!stream_) throw data_error(utf8(path_) + ": cannot be read");
}

std::string InputFile::read(std::uintmax_t count) {
  constexpr std::uintmax_t kChunk = 1 << 20;
  std::string bytes;
  while (bytes.size() < count && stream_) {
    const auto start = bytes.size();
    const auto wanted = std::min(count - start, std::max<std::uintmax_t>(kChunk, start));
    bytes.resize(start + static_cast<std::size_t>(wanted));
    stream_.read(bytes.data() + start, static_cast<std::streamsize>(wanted));
    bytes.resize(start + static_cast<std::size_t>(stream_.gcount()));
  }
  if (stream_.bad()) throw data_error(utf8(path_) + ": cannot be read");
  return bytes;
}

std::string read_file(const fs::path& path, std::uintmax_t limit) {
  InputFile file(path);
  std::error_code none;
  const auto size = fs::is_regular_file(path, none) ? fs::file_size(path, none) : 0;
  auto bytes = size > limit ? std::string() : file.read(limit);
  if (size > limit || !file.read(1).empty()) {
    throw data_error(utf8(path) + ": more than the limit of " + std::to_string(limit) + " bytes");
  }
  return bytes;
}

}  // namespace telvar_host
