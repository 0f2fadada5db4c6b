#include "datasets/segmenter_data.h"

#include <algorithm>
#include <set>

#include "app/errors.h"
#include "app/label.h"
#include "app/text.h"
#include "files/input.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

using ByStem = std::map<std::string, fs::path>;

ByStem by_stem(const std::vector<fs::path>& images, Problems& problems) {
  ByStem found;
  for (const auto& file : images) {
    const auto [entry, fresh] = found.emplace(file.stem().u8string(), file);
    if (!fresh) {
      problems.add(utf8(file), "duplicate", "has the same name as " + utf8(entry->second));
    }
  }
  return found;
}

void read_classes(const fs::path& part, SegmenterData& data) {
  for (const auto& folder : {part, part.parent_path()}) {
    if (const auto file = folder / "classes.txt"; is_file(file)) {
      data.classes = parse_classes(read_file(file, 1 << 20), utf8(file));
      data.class_list = utf8(file.filename());
      data.colours = std::make_shared<ColourIndexes>(palette_colours());
      return;
    }
    if (const auto file = folder / "labelmap.txt"; is_file(file)) {
      auto map = parse_label_map(read_file(file, 1 << 20), utf8(file));
      data.classes = std::move(map.classes);
      data.class_list = utf8(file.filename());
      data.colours = std::make_shared<ColourIndexes>(std::move(map.colours));
      return;
    }
  }
  throw data_error(utf8(part) +
                   ": masks/ holds class indexes but there is no classes.txt, nor labelmap.txt");
}

void report_unfit_masks(const ByStem& masks, const ByStem& images, Problems& problems) {
  for (const auto& [stem, file] : masks) {
    if (has_jpeg_name(file)) {
      problems.add(utf8(file), "mask_lossy",
                   "is a JPEG, whose compression marks pixels around the edges; store it as PNG");
    }
    if (images.count(stem) == 0) {
      problems.add(utf8(file), "mask_without_image", "no image of that name lies in images/");
    }
  }
}

// masks/<category>/NAME.png
void add_category_folders(const std::vector<fs::path>& folders, const ByStem& images,
                          std::map<std::string, SegmenterItem>& items,
                          std::set<std::string>& categories, Problems& problems) {
  for (const auto& folder : folders) {
    const auto category = clean_label(folder.filename().u8string());
    const auto files = by_stem(entries_in(folder, problems).images, problems);
    if (files.empty()) {
      problems.add(utf8(folder), "empty_category", "holds no masks");
      continue;
    }
    categories.insert(category);
    report_unfit_masks(files, images, problems);
    for (const auto& [stem, file] : files) {
      if (const auto item = items.find(stem); item != items.end()) {
        item->second.masks[category] = {file, {}};
      }
    }
  }
}

// masks/NAME.png with class indexes
void add_index_masks(const ByStem& files, const SegmenterData& data, const ByStem& images,
                     std::map<std::string, SegmenterItem>& items, Problems& problems) {
  report_unfit_masks(files, images, problems);
  for (auto& [stem, item] : items) {
    const auto mask = files.find(stem);
    if (mask == files.end()) {
      problems.add(utf8(item.file), "missing_mask", "has no mask masks/" + stem + ".png");
      continue;
    }
    for (const auto& [index, name] : data.classes) {
      item.masks[name] = {mask->second, index, data.colours};
    }
  }
}

void require_layout(const fs::path& part) {
  require_folder(part);
  for (const auto* name : {"images", "masks"}) {
    if (!is_folder(part / name)) {
      throw no_data_set(part, std::string("has no folder ") + name +
                                  "/; expected images/ with masks/<category>/NAME.png, or "
                                  "masks/NAME.png and classes.txt or labelmap.txt");
    }
  }
}

void read_part(const Part& part, const fs::path& root, SegmenterData& data,
               std::set<std::string>& categories, Problems& problems) {
  require_layout(part.folder);
  const auto images = by_stem(entries_in(part.folder / "images", problems).images, problems);
  std::map<std::string, SegmenterItem> items;
  for (const auto& [stem, file] : images) {
    items[stem] = {identifier(file, root), file, {}, part.for_training};
  }
  const auto masks = entries_in(part.folder / "masks", problems);
  if (masks.images.empty()) {
    add_category_folders(masks.folders, images, items, categories, problems);
  } else {
    read_classes(part.folder, data);
    for (const auto& entry : data.classes) categories.insert(entry.second);
    add_index_masks(by_stem(masks.images, problems), data, images, items, problems);
  }
  for (auto& entry : items) data.items.push_back(std::move(entry.second));
}

}  // namespace

SegmenterData read_segmenter_data(const fs::path& source, Purpose purpose, Problems& problems) {
  SegmenterData data;
  std::set<std::string> categories;
  for (const auto& part : parts_for(source, purpose)) {
    read_part(part, source, data, categories, problems);
  }
  if (data.items.empty() && problems.empty()) {
    throw data_error(utf8(source) + ": holds no images in images/");
  }
  if (categories.empty() && problems.empty()) {
    throw data_error(utf8(source) + ": masks/ holds no masks");
  }
  data.categories.assign(categories.begin(), categories.end());
  std::sort(data.items.begin(), data.items.end(),
            [](const auto& a, const auto& b) { return a.id < b.id; });
  return data;
}

std::string wrong_mask_channels(const cv::Mat& mask) {
  return "has " + std::to_string(mask.channels()) +
         " channels, not one (colours are read only of masks/NAME.png with classes.txt or "
         "labelmap.txt)";
}

cv::Mat as_indexes(const cv::Mat& stored, const std::shared_ptr<const ColourIndexes>& colours) {
  return colours && stored.type() == CV_8UC3 ? indexes_of(stored, *colours) : stored;
}

cv::Mat read_mask(const MaskSource& source) {
  const cv::Mat stored = as_indexes(read_image(source.file), source.colours);
  if (stored.channels() != 1) {
    throw data_error(utf8(source.file) + ": a mask " + wrong_mask_channels(stored));
  }
  return source.class_index ? cv::Mat(stored == *source.class_index) : cv::Mat(stored != 0);
}

std::map<int, std::string> parse_classes(const std::string& text, const std::string& name) {
  std::map<int, std::string> classes;
  std::set<std::string> labels;
  const auto lines = split_lines(text);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto line = trimmed(lines[i]);
    if (line.empty()) continue;
    const auto space = line.find_first_of(" \t");
    const auto index = parse_number(line.substr(0, space));
    const auto label = space == std::string::npos ? std::string() : clean_label(line.substr(space));
    if (!index || *index < 0 || *index > 65535 || *index != static_cast<int>(*index) ||
        label.empty()) {
      throw data_error(name + ": line " + std::to_string(i + 1) + ": expected INDEX NAME, found '" +
                       line + "'");
    }
    if (*index == 0) continue;
    const auto stands_twice = [&](const std::string& what) {
      return data_error(name + ": line " + std::to_string(i + 1) + ": " + what + " stands twice");
    };
    if (!classes.emplace(static_cast<int>(*index), label).second) {
      throw stands_twice("index " + line.substr(0, space));
    }
    if (!labels.insert(label).second) throw stands_twice("the name '" + label + "'");
  }
  if (classes.empty()) throw data_error(name + ": names no category besides the background");
  return classes;
}

}  // namespace telvar_host
