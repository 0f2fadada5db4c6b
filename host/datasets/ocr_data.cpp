#include "datasets/ocr_data.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "app/errors.h"
#include "app/text.h"
#include "datasets/ocr_labels.h"
#include "files/input.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

std::string at(double x, double y) {
  return "(" + fixed(x, 1) + ", " + fixed(y, 1) + ")";
}

// 0 of nothing.
float median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return static_cast<float>(*middle);
}

void check_marks(OcrItem& item, Problems& problems) {
  std::vector<CharacterMark> good;
  for (const auto& mark : item.characters) {
    const auto [u, v] = item.in_region(mark);
    if (mark.category.empty()) {
      problems.add(utf8(item.file), "empty_label", "has an empty label at " + at(mark.x, mark.y));
    } else if (std::abs(u) > 1e6 || std::abs(v) > 1e6 || u < -0.5 || v < -0.5 ||
               (item.region && (u > item.region->width - 0.5 || v > item.region->height - 0.5))) {
      problems.add(
          utf8(item.file), "outside",
          "has the label '" + mark.category + "' outside its region, at " + at(mark.x, mark.y));
    } else {
      good.push_back(mark);
    }
  }
  item.characters = std::move(good);
}

OcrData read_part(const fs::path& part) {
  if (is_file(part / "labels.json")) {
    return parse_labels_json(read_file(part / "labels.json", 1U << 30), utf8(part / "labels.json"),
                             part);
  }
  if (is_file(part / "chars.tsv")) return read_label_tables(part);
  throw no_data_set(part, "has neither labels.json nor chars.tsv");
}

void require_same_size(const NominalSize& a, const NominalSize& b, const fs::path& part) {
  if (a.is_set() && b.is_set() && (a.width != b.width || a.height != b.height)) {
    throw data_error(utf8(part) + ": its character size differs from that of the other part");
  }
}

}  // namespace

std::pair<double, double> OcrItem::in_region(const CharacterMark& mark) const {
  return region ? region->to_region(mark.x, mark.y) : std::make_pair(mark.x, mark.y);
}

OcrData read_ocr_data(const fs::path& folder, Purpose purpose, Problems& problems) {
  OcrData data;
  std::map<std::string, int> uses;
  for (const auto& part : parts_for(folder, purpose)) {
    require_folder(part.folder);
    auto read = read_part(part.folder);
    require_same_size(data.size, read.size, part.folder);
    if (read.size.is_set()) data.size = read.size;
    for (auto& item : read.items) {
      if (!is_file(item.file)) {
        problems.add(utf8(item.file), "missing", "is labelled but does not exist");
        continue;
      }
      item.id = identifier(item.file, folder);
      const int use = ++uses[item.id];
      if (use > 1) item.id += "#" + std::to_string(use);
      item.for_training = part.for_training;
      check_marks(item, problems);
      data.items.push_back(std::move(item));
    }
  }
  if (data.items.empty() && problems.empty()) throw data_error(utf8(folder) + ": labels no images");
  return data;
}

bool needs_places(const OcrItem& item) {
  return item.characters.empty() &&
         std::any_of(item.lines.begin(), item.lines.end(),
                     [](const std::string& line) { return !trimmed(line).empty(); });
}

NominalSize median_box(const OcrData& data) {
  std::vector<double> widths, heights;
  for (const auto& item : data.items) {
    const bool turned =
        item.region &&
        std::abs(std::cos(item.region->angle_deg * 3.14159265358979323846 / 180)) < std::sqrt(0.5);
    for (const auto& mark : item.characters) {
      if (!mark.box) continue;
      widths.push_back(turned ? mark.box->second : mark.box->first);
      heights.push_back(turned ? mark.box->first : mark.box->second);
    }
  }
  return {median(std::move(widths)), median(std::move(heights))};
}

std::optional<NominalSize> size_from(const std::string& text) {
  const auto parts = split(text, 'x');
  const auto width = parts.size() == 2 ? parse_number(parts[0]) : std::nullopt;
  const auto height = parts.size() == 2 ? parse_number(parts[1]) : std::nullopt;
  if (!width || !height || *width <= 0 || *height <= 0 || *width > 1e6 || *height > 1e6) return {};
  return NominalSize{static_cast<float>(*width), static_cast<float>(*height)};
}

NominalSize parse_size(const std::string& text) {
  const auto size = size_from(text);
  if (!size) throw usage_error("--size " + text + ": expected WxH, two numbers above 0");
  return *size;
}

}  // namespace telvar_host
