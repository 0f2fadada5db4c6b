#include "datasets/ocr_labels.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "app/errors.h"
#include "app/label.h"
#include "app/text.h"
#include "datasets/json_reader.h"
#include "datasets/tables.h"
#include "files/input.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

NominalSize read_size(const JsonValue& value) {
  if (value.size() != 2) throw value.error("expected [w, h]");
  const NominalSize size{static_cast<float>(value.at(0).number()),
                         static_cast<float>(value.at(1).number())};
  if (!size.is_set() || size.width > 1e6f || size.height > 1e6f) {
    throw value.error("width and height must be above 0 and at most 1e6");
  }
  return size;
}

Region read_region(const JsonValue& value) {
  if (value.size() != 6) throw value.error("expected [x, y, angle_deg, skew_deg, w, h]");
  const Region region{value.at(0).number(), value.at(1).number(), value.at(2).number(),
                      value.at(3).number(), value.at(4).count(),  value.at(5).count()};
  require_valid(region, value.where());
  return region;
}

CharacterMark read_mark(const JsonValue& value) {
  value.allow_only({"x", "y", "category", "w", "h", "score"});
  CharacterMark mark{value.at("x").number(), value.at("y").number(),
                     clean_label(value.at("category").string())};
  if (value.has("w") || value.has("h")) {
    mark.box = {value.at("w").number(), value.at("h").number()};
    if (!(mark.box->first > 0 && mark.box->second > 0)) {
      throw value.error("'w' and 'h' must be above 0");
    }
  }
  if (value.has("score")) mark.score = value.at("score").number();
  return mark;
}

OcrItem read_item(const JsonValue& value, const fs::path& root) {
  value.allow_only({"file", "roi", "partial", "characters", "text"});
  OcrItem item;
  item.file = root / path_from_utf8(value.at("file").string());
  if (value.has("roi")) item.region = read_region(value.at("roi"));
  if (value.has("partial")) item.partial = value.at("partial").boolean();
  if (value.has("characters")) {
    const auto characters = value.at("characters");
    for (std::size_t i = 0; i < characters.size(); ++i) {
      const auto mark = characters.at(i);
      item.characters.push_back(read_mark(mark));
    }
  }
  if (value.has("text")) {
    const auto lines = value.at("text");
    for (std::size_t i = 0; i < lines.size(); ++i)
      item.lines.push_back(normal_form(lines.at(i).string()));
  }
  return item;
}

CharacterMark read_mark(const NamedTable& table, std::size_t row) {
  const std::string label = table.has("category") ? "category" : "char";
  CharacterMark mark{0, 0, clean_label(table.at(row, label))};
  if (table.has("x0")) {
    // x1 and y1 lie one pixel behind the box.
    const double width = table.number(row, "x1") - table.number(row, "x0");
    const double height = table.number(row, "y1") - table.number(row, "y0");
    mark.x = table.number(row, "x0") + (width - 1) / 2;
    mark.y = table.number(row, "y0") + (height - 1) / 2;
    if (width > 0 && height > 0) mark.box = {width, height};
  } else {
    mark.x = table.number(row, "x");
    mark.y = table.number(row, "y");
  }
  return mark;
}

// The image of tables without a column `file`: the only one there is.
fs::path only_image(const fs::path& folder) {
  Problems lost;
  const auto images = entries_in(folder, lost).images;
  if (images.size() != 1) {
    throw data_error(utf8(folder) + ": holds " + counted(images.size(), "image") +
                     "; chars.tsv needs a column 'file' then");
  }
  return images.front();
}

NominalSize read_size(const fs::path& file) {
  const auto text = trimmed(read_file(file, 1024));
  const auto size = size_from(text);
  if (!size) throw data_error(utf8(file) + ": '" + text + "': expected WxH, two numbers above 0");
  return *size;
}

std::string image_of(const NamedTable& table, std::size_t row, const std::string& only) {
  return only.empty() ? table.at(row, "file") : only;
}

std::size_t letters(const std::string& line) {
  const auto points = code_points(line);
  return static_cast<std::size_t>(std::count_if(
      points.begin(), points.end(), [](char32_t c) { return c != U' ' && c != U'\t'; }));
}

// Whether there are fewer marks than letters of known text: the rest of the image is not marked.
bool has_unmarked_letters(const OcrItem& item) {
  std::size_t count = 0;
  for (const auto& line : item.lines) count += letters(line);
  return item.characters.size() < count;
}

nlohmann::ordered_json json_of(const CharacterMark& mark) {
  nlohmann::ordered_json json = {{"x", mark.x}, {"y", mark.y}};
  if (mark.box) {
    json["w"] = mark.box->first;
    json["h"] = mark.box->second;
  }
  json["category"] = mark.category;
  if (mark.score) json["score"] = *mark.score;
  return json;
}

}  // namespace

OcrData parse_labels_json(const std::string& text, const std::string& name, const fs::path& root) {
  const auto document = parse_json(text, name);
  const JsonValue top(document, name, "");
  top.allow_only({"size", "images"});
  OcrData data;
  if (top.has("size")) data.size = read_size(top.at("size"));
  const auto images = top.at("images");
  for (std::size_t i = 0; i < images.size(); ++i)
    data.items.push_back(read_item(images.at(i), root));
  return data;
}

OcrData read_label_tables(const fs::path& folder) {
  OcrData data;
  const NamedTable characters(read_file(folder / "chars.tsv", 1U << 30),
                              utf8(folder / "chars.tsv"));
  const std::string only = characters.has("file") ? "" : utf8(only_image(folder).filename());
  std::map<std::string, OcrItem> items;
  for (std::size_t row = 0; row < characters.rows(); ++row) {
    items[image_of(characters, row, only)].characters.push_back(read_mark(characters, row));
  }
  if (is_file(folder / "lines.tsv")) {
    const NamedTable lines(read_file(folder / "lines.tsv", 1U << 28), utf8(folder / "lines.tsv"));
    for (std::size_t row = 0; row < lines.rows(); ++row) {
      items[image_of(lines, row, only)].lines.push_back(lines.at(row, "text"));
    }
  }
  for (auto& [file, item] : items) {
    item.file = folder / path_from_utf8(file);
    item.partial = has_unmarked_letters(item);
    data.items.push_back(std::move(item));
  }
  if (is_file(folder / "size.txt")) data.size = read_size(folder / "size.txt");
  return data;
}

std::string labels_json(const OcrData& data, const fs::path& root) {
  nlohmann::ordered_json top;
  if (data.size.is_set()) top["size"] = {data.size.width, data.size.height};
  top["images"] = nlohmann::ordered_json::array();
  for (const auto& item : data.items) {
    nlohmann::ordered_json image{{"file", identifier(item.file, root)}};
    if (item.region) {
      const auto& r = *item.region;
      image["roi"] = {r.x, r.y, r.angle_deg, r.skew_deg, r.width, r.height};
    }
    if (item.partial) image["partial"] = true;
    image["characters"] = nlohmann::ordered_json::array();
    for (const auto& mark : item.characters) {
      image["characters"].push_back(json_of(mark));
    }
    if (!item.lines.empty()) image["text"] = item.lines;
    top["images"].push_back(std::move(image));
  }
  return top.dump(1) + "\n";
}

}  // namespace telvar_host
