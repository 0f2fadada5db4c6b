// Where the parts of a data set lie.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace telvar_host {

// What a data set is read for. A folder with train/ or test/ holds two: training takes train/,
// evaluation test/, a check both.
enum class Purpose { kTrain, kEvaluate, kAll };

// The folders to read for `purpose`. Throws data_error when `folder` does not exist or lacks the
// part.
std::vector<std::filesystem::path> parts_for(const std::filesystem::path& folder, Purpose purpose);

// `path` relative to `root`, UTF-8 with forward slashes: the image identifier in every tool. The
// path as it is where no relative one exists (another drive), or for an empty `root`.
std::string identifier(const std::filesystem::path& path, const std::filesystem::path& root);

// Sub-folders, sorted by name, hidden ones skipped.
std::vector<std::filesystem::path> folders_in(const std::filesystem::path& folder);

// Pictures directly in `folder`, sorted by name.
std::vector<std::filesystem::path> pictures_in(const std::filesystem::path& folder);

}  // namespace telvar_host
