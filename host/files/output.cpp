#include "files/output.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

#include "app/errors.h"
#include "app/interrupt.h"
#include "app/text.h"
#include "files/platform.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

// Whatever makes, renames or removes a file here holds output_mutex(): an interrupt takes it before
// it removes what is unfinished, which otherwise could be made again behind its back.

// Replacing a link would leave the file it points to as it was.
fs::path resolved(const fs::path& path) {
  std::error_code error;
  auto result = fs::weakly_canonical(fs::absolute(path), error);
  if (error) throw failure("cannot resolve " + utf8(path) + ": " + error.message());
  return result;
}

// "results/" and "results" are the same folder, and its place is beside it, not in it.
fs::path resolved_folder(const fs::path& path) {
  const auto result = resolved(path);
  return result.has_filename() ? result : result.parent_path();
}

constexpr const char* kUnfinished = "unfinished";

// Hidden, on the same file system as `path`.
fs::path temporary_in(const fs::path& folder, const fs::path& path) {
  return folder / ("." + path.filename().u8string() + ".telvar-" + process_tag());
}

fs::path temporary_beside(const fs::path& path) {
  return temporary_in(path.parent_path(), path);
}

// What runs that were killed left for `path`: those that are known to have ended, and, since others
// may be on another machine, what is a day old: nothing takes as long between two files.
void clear_leftovers(const fs::path& folder, const fs::path& path) {
  const auto prefix = "." + path.filename().u8string() + ".telvar-";
  const auto day_ago = fs::file_time_type::clock::now() - std::chrono::hours(24);
  std::error_code lost;  // leftovers are no reason to fail
  for (fs::directory_iterator at(folder, lost), end; !lost && at != end; at.increment(lost)) {
    std::error_code gone;
    const auto name = at->path().filename().u8string();
    if (name.compare(0, prefix.size(), prefix) != 0) continue;
    const bool is_old = fs::last_write_time(at->path(), gone) < day_ago && !gone;
    if (is_old || has_ended(name.substr(prefix.size()))) fs::remove_all(at->path(), gone);
  }
}

// A file under its temporary name, and the name that people know.
struct NewFile {
  fs::path path;
  fs::path target;
};

void write_new_file(const NewFile& file, std::string_view bytes,
                    std::ios::openmode mode = std::ios::trunc) {
  std::ofstream stream(file.path, std::ios::binary | mode);
  if (!stream) throw failure("cannot create " + utf8(file.target));
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) throw failure("cannot write " + utf8(file.target) + " (disk full?)");
}

// Nobody else may read it at any time.
void write_private_file(const NewFile& file, std::string_view bytes) {
  write_new_file(file, "");
  std::error_code refused_by_the_file_system;
  fs::permissions(file.path, fs::perms::owner_read | fs::perms::owner_write,
                  refused_by_the_file_system);
  write_new_file(file, bytes);
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

void require_replaceable(const fs::path& path, bool force) {
  const auto target = resolved(path);
  if (fs::is_directory(target)) throw usage_error(utf8(path) + ": is a folder, not a file");
  if (fs::exists(target) && !fs::is_regular_file(target)) {
    throw usage_error(utf8(path) + ": is a device or a pipe, not a file");
  }
  if (fs::exists(target) && !force) {
    throw usage_error(utf8(path) + ": exists; give --force to replace it");
  }
  if (!fs::is_directory(target.parent_path())) {
    throw usage_error(utf8(target.parent_path()) + ": no such folder");
  }
}

}  // namespace

void require_writable_file(const fs::path& path, bool force) {
  require_replaceable(path, force);
  clear_leftovers(resolved(path).parent_path(), resolved(path));
  const RemovedOnExit trial(temporary_beside(resolved(path)));
  std::lock_guard<std::mutex> lock(output_mutex());
  write_new_file({trial.path(), resolved(path)}, "");
}

ReservedSpace::ReservedSpace(const fs::path& path, std::uint64_t bytes)
    : file_(std::make_unique<RemovedOnExit>(temporary_beside(resolved(path)))) {
  std::lock_guard<std::mutex> lock(output_mutex());
  write_new_file({file_->path(), resolved(path)}, "");
  const auto refusal = reserve(file_->path(), bytes);
  if (refusal.empty()) return;
  throw failure("there is no room for " + utf8(path) + ", which may take " +
                std::to_string((bytes >> 20) + 1) + " MiB: " + refusal);
}

ReservedSpace::~ReservedSpace() = default;

void write_file(const fs::path& path, std::string_view bytes, bool force) {
  require_replaceable(path, force);
  const auto target = resolved(path);
  RemovedOnExit temporary(temporary_beside(target));
  std::lock_guard<std::mutex> lock(output_mutex());
  if (fs::exists(target)) {
    write_private_file({temporary.path(), target}, bytes);
    std::error_code refused_by_the_file_system;
    fs::permissions(temporary.path(), fs::status(target).permissions(), refused_by_the_file_system);
  } else {
    write_new_file({temporary.path(), target}, bytes);
  }
  flush_to_disk(temporary.path());
  rename_or_throw(temporary.path(), target);
  temporary.keep();
  flush_to_disk(target.parent_path());
}

OutputFolder::OutputFolder(const fs::path& target, bool force, Unfinished unfinished)
    : target_(resolved_folder(target)), force_(force), unfinished_(unfinished) {
  require_free(target);
  const bool inside = fs::exists(target_) || unfinished_ == Unfinished::kKept;
  make_folders(inside ? target_ : target_.parent_path());
  if (unfinished_ == Unfinished::kKept) lock_ = std::make_unique<FileLock>(staging() / ".lock");
}

void OutputFolder::require_free(const fs::path& given) const {
  if (!fs::exists(target_)) return;
  if (!fs::is_directory(target_)) throw usage_error(utf8(given) + ": is a file, not a folder");
  if (force_) return;
  for (const auto& entry : fs::directory_iterator(target_)) {
    if (unfinished_ == Unfinished::kKept && entry.path().filename() == kUnfinished) continue;
    throw usage_error(utf8(given) + ": exists and is not empty; give --force to write into it");
  }
}

void OutputFolder::make_folders(const fs::path& parent) {
  std::lock_guard<std::mutex> lock(output_mutex());
  parents_ = std::make_unique<RemovedOnExit>(parent, existing_part(parent));
  std::error_code error;
  fs::create_directories(parent, error);
  if (error) throw failure("cannot create " + utf8(parent) + ": " + error.message());
  clear_leftovers(parent, target_);
  const bool kept = unfinished_ == Unfinished::kKept;
  const auto path = kept ? target_ / kUnfinished : temporary_in(parent, target_);
  resumed_ = kept && fs::exists(path);
  staging_ = std::make_unique<RemovedOnExit>(path);
  if (resumed_) staging_->keep();
  fs::create_directory(path, error);
  if (error) throw failure("cannot create " + utf8(target_) + ": " + error.message());
}

void OutputFolder::keep_unfinished() {
  std::lock_guard<std::mutex> lock(output_mutex());
  staging_->keep();
}

void OutputFolder::discard_unfinished() {
  std::lock_guard<std::mutex> lock(output_mutex());
  for (const auto& entry : fs::directory_iterator(staging())) {
    if (entry.path().filename() != ".lock") fs::remove_all(entry.path());
  }
}

OutputFolder::~OutputFolder() = default;

const fs::path& OutputFolder::staging() const {
  return staging_->path();
}

void OutputFolder::write(const fs::path& relative, std::string_view bytes) {
  const auto path = staging() / relative;
  std::lock_guard<std::mutex> lock(output_mutex());
  std::error_code error;
  fs::create_directories(path.parent_path(), error);
  if (error) {
    throw failure("cannot create " + utf8((target_ / relative).parent_path()) + ": " +
                  error.message());
  }
  write_new_file({path, target_ / relative}, bytes);
}

void OutputFolder::append(const fs::path& relative, std::string_view bytes) {
  const auto path = staging() / relative;
  std::lock_guard<std::mutex> lock(output_mutex());
  write_new_file({path, target_ / relative}, bytes, std::ios::app);
  flush_to_disk(path);
}

void OutputFolder::commit() {
  for (const auto& entry : fs::recursive_directory_iterator(staging())) {
    if (entry.is_regular_file()) flush_to_disk(entry.path());
  }
  std::lock_guard<std::mutex> lock(output_mutex());
  if (fs::exists(target_)) {
    move_one_by_one();
    return;
  }
  rename_or_throw(staging(), target_);
  staging_->keep();
  flush_to_disk(target_.parent_path());
}

void OutputFolder::move_one_by_one() {
  std::vector<std::pair<fs::path, fs::path>> moves;
  for (const auto& entry : fs::recursive_directory_iterator(staging())) {
    const auto relative = entry.path().lexically_relative(staging());
    if (entry.is_directory() || relative.u8string().front() == '.') continue;
    const auto destination = target_ / relative;
    if (!force_ && fs::exists(destination)) {
      throw failure(utf8(destination) +
                    ": was written by another program meanwhile; give --force to replace it");
    }
    moves.emplace_back(entry.path(), destination);
  }
  std::stable_partition(moves.begin(), moves.end(),
                        [&](const auto& move) { return move.second != target_ / "results.json"; });
  for (const auto& [from, to] : moves) {
    std::error_code error;
    fs::create_directories(to.parent_path(), error);
    if (error) throw failure("cannot create " + utf8(to.parent_path()) + ": " + error.message());
    rename_or_throw(from, to);
  }
  flush_to_disk(target_);
  lock_.reset();
  std::error_code left_for_the_next_run;
  fs::remove_all(staging(), left_for_the_next_run);
}

}  // namespace telvar_host
