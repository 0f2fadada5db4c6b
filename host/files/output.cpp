#include "files/output.h"

#include <fstream>
#include <system_error>

#include "app/errors.h"
#include "app/interrupt.h"
#include "app/text.h"
#include "files/flush.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

// Replacing a link would leave the file it points to as it was.
fs::path resolved(const fs::path& path) {
  std::error_code error;
  const auto result = fs::weakly_canonical(fs::absolute(path), error);
  if (error) throw failure("cannot resolve " + utf8(path) + ": " + error.message());
  return result;
}

// "results/" and "results" are the same folder, and its place is beside it, not in it.
fs::path resolved_folder(const fs::path& path) {
  const auto result = resolved(path);
  return result.has_filename() ? result : result.parent_path();
}

fs::path temporary_beside(const fs::path& path) {
  auto name = path.filename();
  return path.parent_path() / ("." + name.u8string() + ".telvar-" + process_tag());
}

void write_new_file(const fs::path& path, std::string_view bytes) {
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  if (!stream) throw failure("cannot create " + utf8(path));
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) throw failure("cannot write " + utf8(path) + " (disk full?)");
}

void rename_or_throw(const fs::path& from, const fs::path& to) {
  std::error_code error;
  fs::rename(from, to, error);
  if (error) throw failure("cannot write " + utf8(to) + ": " + error.message());
}

fs::path existing_part(fs::path path) {
  std::error_code error;
  while (!fs::exists(path, error) && path != path.parent_path()) path = path.parent_path();
  return path;
}

bool is_empty_folder(const fs::path& path) {
  return fs::is_directory(path) && fs::is_empty(path);
}

}  // namespace

std::string read_file(const fs::path& path, std::uintmax_t limit) {
  std::error_code error;
  if (!fs::exists(path, error)) throw data_error(utf8(path) + ": no such file");
  if (fs::is_directory(path, error)) throw data_error(utf8(path) + ": is a folder, not a file");
  const auto size = fs::file_size(path, error);
  if (error) throw data_error(utf8(path) + ": cannot be read: " + error.message());
  if (size > limit) {
    throw data_error(utf8(path) + ": " + std::to_string(size) + " bytes, more than the limit of " +
                     std::to_string(limit));
  }
  std::ifstream stream(path, std::ios::binary);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(size));
  if (!stream) throw data_error(utf8(path) + ": cannot be read");
  return bytes;
}

void require_writable_file(const fs::path& path, bool force) {
  const auto target = resolved(path);
  if (fs::is_directory(target)) throw usage_error(utf8(path) + ": is a folder, not a file");
  if (fs::exists(target) && !force) {
    throw usage_error(utf8(path) + ": exists; give --force to replace it");
  }
  if (!fs::is_directory(target.parent_path())) {
    throw usage_error(utf8(target.parent_path()) + ": no such folder");
  }
}

void write_file(const fs::path& path, std::string_view bytes, bool force) {
  require_writable_file(path, force);
  const auto target = resolved(path);
  RemovedOnExit temporary(temporary_beside(target));
  write_new_file(temporary.path(), bytes);
  flush_to_disk(temporary.path());
  std::lock_guard<std::mutex> lock(output_mutex());
  rename_or_throw(temporary.path(), target);
  temporary.keep();
  flush_to_disk(target.parent_path());
}

OutputFolder::OutputFolder(fs::path target, bool force) : target_(resolved_folder(target)) {
  if (fs::exists(target_) && !fs::is_directory(target_)) {
    throw usage_error(utf8(target) + ": is a file, not a folder");
  }
  if (fs::exists(target_) && !fs::is_empty(target_) && !force) {
    throw usage_error(utf8(target) + ": exists and is not empty; give --force to write into it");
  }
  const auto parent = target_.parent_path();
  // Under the lock, or an interrupt could remove a folder and this would make it again.
  std::lock_guard<std::mutex> lock(output_mutex());
  parents_ = std::make_unique<RemovedOnExit>(parent, existing_part(parent));
  std::error_code error;
  fs::create_directories(parent, error);
  if (error) throw failure("cannot create " + utf8(parent) + ": " + error.message());
  staging_ = std::make_unique<RemovedOnExit>(temporary_beside(target_));
  fs::create_directory(staging_->path(), error);
  if (error) throw failure("cannot create " + utf8(staging_->path()) + ": " + error.message());
}

OutputFolder::~OutputFolder() = default;

const fs::path& OutputFolder::staging() const {
  return staging_->path();
}

void OutputFolder::write(const fs::path& relative, std::string_view bytes) {
  const auto path = staging() / relative;
  // Under the lock for the same reason.
  std::lock_guard<std::mutex> lock(output_mutex());
  std::error_code error;
  fs::create_directories(path.parent_path(), error);
  if (error) throw failure("cannot create " + utf8(path.parent_path()) + ": " + error.message());
  write_new_file(path, bytes);
}

void OutputFolder::commit() {
  for (const auto& entry : fs::recursive_directory_iterator(staging())) {
    if (entry.is_regular_file()) flush_to_disk(entry.path());
  }
  std::lock_guard<std::mutex> lock(output_mutex());
  std::error_code ignored;
  if (is_empty_folder(target_)) fs::remove(target_, ignored);
  if (fs::exists(target_)) {
    replace_one_by_one();
    return;
  }
  rename_or_throw(staging(), target_);
  staging_->keep();
  flush_to_disk(target_.parent_path());
}

void OutputFolder::replace_one_by_one() {
  for (const auto& entry : fs::recursive_directory_iterator(staging())) {
    const auto destination = target_ / entry.path().lexically_relative(staging());
    if (entry.is_directory()) {
      fs::create_directories(destination);
    } else {
      rename_or_throw(entry.path(), destination);
    }
  }
}

}  // namespace telvar_host
