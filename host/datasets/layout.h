// Where the parts of a data set lie.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "app/errors.h"
#include "datasets/problems.h"

namespace telvar_host {

// What a data set is read for. A folder with train/ or test/ holds two: training takes train/,
// evaluation test/, a check both.
enum class Purpose { kTrain, kEvaluate, kAll };

struct Part {
  std::filesystem::path folder;  // or a list of files
  bool for_training = true;      // false only for test/
};

// What to read of `source` for `purpose`. Throws data_error when there is no such folder or file,
// or it lacks the part.
std::vector<Part> parts_for(const std::filesystem::path& source, Purpose purpose);

// `path` relative to `root`, UTF-8 with forward slashes: the image identifier in every tool. The
// path as it is where no relative one exists (another drive), or for an empty `root`.
std::string identifier(const std::filesystem::path& path, const std::filesystem::path& root);

// False also for what cannot be looked at, such as a link to itself.
bool is_file(const std::filesystem::path& path);
bool is_folder(const std::filesystem::path& path);

// Throws data_error "PATH: no such folder", or "... is a file, not a folder".
void require_folder(const std::filesystem::path& path);

// data_error "PATH: WHY" of what is no data set, with the commands that may have been meant.
HostError no_data_set(const std::filesystem::path& path, const std::string& why);

// What lies directly in a folder, each sorted by name.
struct Entries {
  std::vector<std::filesystem::path> folders;
  std::vector<std::filesystem::path> images;  // by their names; reading tells what they are
  std::vector<std::filesystem::path> others;
};

// Hidden entries are skipped. A folder that cannot be listed, and links that lead nowhere, go to
// `problems`, except those with the name of an image: they are images that cannot be read.
Entries entries_in(const std::filesystem::path& folder, Problems& problems);

// The same for `folder` and every folder below it. Links to folders are listed, but not followed.
void visit_below(const std::filesystem::path& folder, Problems& problems,
                 const std::function<void(const Entries&)>& visit);

// Every image below `folder`, sorted by path.
std::vector<std::filesystem::path> images_below(const std::filesystem::path& folder,
                                                Problems& problems);

}  // namespace telvar_host
