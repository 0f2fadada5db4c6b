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

// A category may itself be called "train" or "test": those folders hold images and nothing else.
bool is_part(const fs::path& folder) {
  if (!is_folder(folder)) return false;
  for (const auto* labels : {"labels.json", "labels.csv", "chars.tsv"}) {
    if (is_file(folder / labels)) return true;
  }
  Problems lost;  // reported when the part is read
  return !entries_in(folder, lost).folders.empty() || !lost.empty();
}

}  // namespace

std::vector<Part> parts_for(const fs::path& source, Purpose purpose) {
  if (is_file(source)) return {{source}};
  require_folder(source);
  const auto train = source / "train";
  const auto test = source / "test";
  if (!is_part(train) && !is_part(test)) return {{source}};
  std::vector<Part> parts;
  if (purpose != Purpose::kEvaluate && is_part(train)) parts.push_back({train});
  if (purpose != Purpose::kTrain && is_part(test)) parts.push_back({test, false});
  if (parts.empty()) {
    throw data_error(
        utf8(source) + ": has no " +
        (purpose == Purpose::kTrain ? "train/ to train from" : "test/ to evaluate on"));
  }
  return parts;
}

std::string identifier(const fs::path& path, const fs::path& root) {
  // A list may name its images absolutely in a folder that was given relatively.
  const auto plain = [](const fs::path& p) { return fs::absolute(p).lexically_normal(); };
  const auto inside = root.empty() ? path : plain(path).lexically_relative(plain(root));
  return utf8(inside.empty() ? path : inside);
}

bool is_file(const fs::path& path) {
  std::error_code lost;
  return fs::is_regular_file(path, lost);
}

bool is_folder(const fs::path& path) {
  std::error_code lost;
  return fs::is_directory(path, lost);
}

void require_folder(const fs::path& path) {
  if (is_folder(path)) return;
  std::error_code lost;
  const bool there = fs::exists(path, lost);
  throw data_error(utf8(path) + (there ? ": is a file, not a folder" : ": no such folder"));
}

HostError no_data_set(const fs::path& path, const std::string& why) {
  return data_error(utf8(path) + ": " + why +
                    " (docs/datasets.md; telvar convert makes a data set of other programs' "
                    "labels, telvar batch takes images without any)");
}

Entries entries_in(const fs::path& folder, Problems& problems) {
  Entries found;
  std::error_code error, lost;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    const auto& path = at->path();
    if (is_hidden(path)) continue;
    const bool there = fs::exists(path, lost);
    if (is_folder(path)) {
      found.folders.push_back(path);
    } else if (has_image_name(path) && (is_file(path) || !there)) {
      found.images.push_back(path);
    } else if (there) {
      found.others.push_back(path);
    } else {
      problems.add(utf8(path), "unreadable", "is a link that leads nowhere");
    }
  }
  if (error) problems.add(utf8(folder), "unreadable", "cannot be listed: " + error.message());
  for (auto* paths : {&found.folders, &found.images, &found.others}) {
    std::sort(paths->begin(), paths->end());
  }
  return found;
}

void visit_below(const fs::path& folder, Problems& problems,
                 const std::function<void(const Entries&)>& visit) {
  const auto entries = entries_in(folder, problems);
  visit(entries);
  for (const auto& below : entries.folders) {
    if (!fs::is_symlink(below)) visit_below(below, problems, visit);
  }
}

std::vector<fs::path> images_below(const fs::path& folder, Problems& problems) {
  std::vector<fs::path> found;
  visit_below(folder, problems, [&](const Entries& entries) {
    found.insert(found.end(), entries.images.begin(), entries.images.end());
  });
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace telvar_host
