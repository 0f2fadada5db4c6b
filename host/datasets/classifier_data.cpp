#include "datasets/classifier_data.h"

#include <algorithm>
#include <set>

#include "app/errors.h"
#include "app/label.h"
#include "app/text.h"
#include "datasets/tables.h"
#include "files/input.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

bool is_header(const Row& row) {
  return row.size() == 2 && trimmed(row[0]) == "file" && trimmed(row[1]) == "category";
}

void read_list(const fs::path& list, const fs::path& root, bool for_training, ClassifierData& data,
               Problems& problems) {
  const auto rows = parse_csv(read_file(list), utf8(list));
  std::set<std::string> seen;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i == 0 && is_header(rows[i])) continue;
    if (rows[i].size() != 2) {
      problems.add(utf8(list), "malformed",
                   "record " + std::to_string(i + 1) + " has " + counted(rows[i].size(), "field") +
                       "; expected file,category");
      continue;
    }
    const auto file = list.parent_path() / path_from_utf8(rows[i][0]);
    const auto id = identifier(file, root);
    const auto category = clean_label(rows[i][1]);
    if (category.empty()) {
      problems.add(utf8(file), "empty_label", "has an empty category in " + utf8(list));
    } else if (!is_file(file)) {
      problems.add(utf8(file), "missing", "is listed in " + utf8(list) + " but does not exist");
    } else if (!seen.insert(id).second) {
      problems.add(utf8(file), "duplicate", "is listed twice in " + utf8(list));
    } else {
      data.items.push_back({id, file, category, for_training});
    }
  }
}

void read_folders(const Part& part, const fs::path& root, ClassifierData& data,
                  Problems& problems) {
  for (const auto& folder : entries_in(part.folder, problems).folders) {
    const auto found = problems.list().size();
    const auto images = images_below(folder, problems);
    const auto category = clean_label(folder.filename().u8string());
    const bool whole = problems.list().size() == found;
    if (whole && images.empty()) problems.add(utf8(folder), "empty_category", "holds no images");
    for (const auto& file : images) {
      data.items.push_back({identifier(file, root), file, category, part.for_training});
    }
  }
}

}  // namespace

ClassifierData read_classifier_data(const fs::path& source, Purpose purpose, Problems& problems) {
  ClassifierData data;
  for (const auto& part : parts_for(source, purpose)) {
    const auto list = part.folder / "labels.csv";
    if (is_file(part.folder)) {
      read_list(part.folder, part.folder.parent_path(), true, data, problems);
    } else if (is_file(list)) {
      read_list(list, source, part.for_training, data, problems);
    } else {
      read_folders(part, source, data, problems);
    }
  }
  if (data.items.empty() && problems.empty()) {
    throw no_data_set(source,
                      "holds no labelled images; expected a folder per category or labels.csv "
                      "with file,category");
  }
  std::sort(data.items.begin(), data.items.end(),
            [](const auto& a, const auto& b) { return a.id < b.id; });
  return data;
}

}  // namespace telvar_host
