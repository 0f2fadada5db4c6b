#include "datasets/unused.h"

#include <set>

#include "app/text.h"
#include "datasets/layout.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

bool holds_any(const std::string& folder, const std::set<std::string>& files) {
  const auto first = files.lower_bound(folder + "/");
  return first != files.end() && first->compare(0, folder.size() + 1, folder + "/") == 0;
}

}  // namespace

void report_unused(const fs::path& source, const std::vector<fs::path>& known, Problems& unused) {
  if (!is_folder(source)) return;
  std::set<std::string> ids;
  for (const auto& path : known) ids.insert(identifier(path, source));
  const auto add = [&](const fs::path& path, const std::string& why) {
    if (ids.count(identifier(path, source)) == 0) unused.add(utf8(path), "unused", why);
  };
  Problems lost;
  visit_below(source, lost, [&](const Entries& entries) {
    for (const auto& file : entries.images) add(file, "is not part of the data set");
    for (const auto& file : entries.others) {
      if (has_foreign_image_name(file)) add(file, "is of a kind that is not read");
    }
    for (const auto& folder : entries.folders) {
      if (fs::is_symlink(folder) && !holds_any(identifier(folder, source), ids)) {
        add(folder, "is a link to a folder that is not followed");
      }
    }
  });
  for (const auto& problem : lost.list()) add(path_from_utf8(problem.path), problem.why);
}

}  // namespace telvar_host
