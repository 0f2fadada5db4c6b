#include "datasets/layout.h"

#include <algorithm>

#include "app/errors.h"
#include "app/text.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

bool is_hidden(const fs::path& path) {
  return path.filename().u8string().front() == '.';
}

// A category may itself be called "train" or "test": those folders hold pictures and nothing else.
bool is_part(const fs::path& folder) {
  if (!fs::is_directory(folder)) return false;
  for (const auto* labels : {"labels.json", "labels.csv", "chars.tsv"}) {
    if (fs::exists(folder / labels)) return true;
  }
  return !folders_in(folder).empty();
}

}  // namespace

std::vector<fs::path> parts_for(const fs::path& folder, Purpose purpose) {
  if (!fs::exists(folder)) throw data_error(utf8(folder) + ": no such folder");
  if (!fs::is_directory(folder)) return {folder};
  const auto train = folder / "train";
  const auto test = folder / "test";
  if (!is_part(train) && !is_part(test)) return {folder};
  std::vector<fs::path> parts;
  if (purpose != Purpose::kEvaluate && is_part(train)) parts.push_back(train);
  if (purpose != Purpose::kTrain && is_part(test)) parts.push_back(test);
  if (parts.empty()) {
    throw data_error(
        utf8(folder) + ": has no " +
        (purpose == Purpose::kTrain ? "train/ to train from" : "test/ to evaluate on"));
  }
  return parts;
}

std::string identifier(const fs::path& path, const fs::path& root) {
  // A list may name its pictures absolutely in a folder that was given relatively.
  const auto plain = [](const fs::path& p) { return fs::absolute(p).lexically_normal(); };
  const auto inside = root.empty() ? path : plain(path).lexically_relative(plain(root));
  return utf8(inside.empty() ? path : inside);
}

std::vector<fs::path> folders_in(const fs::path& folder) {
  std::vector<fs::path> found;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.is_directory() && !is_hidden(entry.path())) found.push_back(entry.path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::vector<fs::path> pictures_in(const fs::path& folder) {
  std::vector<fs::path> found;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.is_regular_file() && !is_hidden(entry.path()) && has_picture_name(entry.path())) {
      found.push_back(entry.path());
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace telvar_host
