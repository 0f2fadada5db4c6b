#include <algorithm>

#include "app/errors.h"
#include "app/label.h"
#include "app/text.h"
#include "convert/annotations.h"
#include "datasets/layout.h"
#include "files/input.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

std::vector<std::string> read_names(const fs::path& labels) {
  for (const auto& folder : {labels, labels.parent_path()}) {
    for (const char* name : {"classes.txt", "obj.names"}) {
      if (!is_file(folder / name)) continue;
      std::vector<std::string> names;
      for (const auto& line : split_lines(read_file(folder / name, 1 << 20))) {
        names.push_back(clean_label(line));
      }
      return names;
    }
  }
  throw data_error(utf8(labels) + ": has neither classes.txt nor obj.names with a name a line");
}

fs::path image_named(const fs::path& folder, const std::string& stem) {
  Problems lost;
  for (const auto& file : entries_in(folder, lost).images) {
    if (file.stem().u8string() == stem) return file;
  }
  throw data_error(utf8(folder / path_from_utf8(stem)) +
                   ".*: no such image, but there are labels for it");
}

// Shares of the image's width and height: centre and size of a box, or the corners of a polygon.
Shape read_shape(const std::vector<double>& values, const cv::Size& size) {
  Shape shape;
  if (values.size() == 4) {
    const double width = values[2] * size.width, height = values[3] * size.height;
    shape.box = cv::Rect2d(values[0] * size.width - width / 2, values[1] * size.height - height / 2,
                           width, height);
    return shape;
  }
  shape.polygons.emplace_back();
  for (std::size_t i = 0; i < values.size(); i += 2) {
    shape.polygons.back().emplace_back(values[i] * size.width, values[i + 1] * size.height);
  }
  return shape;
}

Shape read_line(const std::string& line, const std::string& where,
                const std::vector<std::string>& names, const cv::Size& size) {
  std::vector<double> values;
  for (const auto& field : split(line, ' ')) {
    if (field.empty()) continue;
    const auto value = parse_number(field);
    if (!value) throw data_error(where + ": '" + field + "' is no number");
    values.push_back(*value);
  }
  const bool box = values.size() == 5, polygon = values.size() >= 7 && values.size() % 2 == 1;
  if (!box && !polygon) {
    throw data_error(where +
                     ": expected a class and a box (x y w h) or a polygon (x y x y x y ...)");
  }
  const double index = values.front();
  if (index < 0 || index >= static_cast<double>(names.size()) ||
      index != static_cast<double>(static_cast<std::size_t>(index))) {
    throw data_error(where + ": there is no class " + fixed(index, 0) + " among the " +
                     std::to_string(names.size()) + " names");
  }
  values.erase(values.begin());
  auto shape = read_shape(values, size);
  shape.category = names[static_cast<std::size_t>(index)];
  // A polygon has a box, and a box is an outline too.
  if (box) {
    const auto& b = *shape.box;
    shape.polygons = {
        {{b.x, b.y}, {b.x + b.width, b.y}, {b.x + b.width, b.y + b.height}, {b.x, b.y + b.height}}};
  }
  return shape;
}

}  // namespace

std::vector<AnnotatedImage> read_yolo(const fs::path& labels, const fs::path& images) {
  require_folder(labels);
  const auto names = read_names(labels);
  Problems problems;
  std::vector<AnnotatedImage> found;
  for (const auto& file : entries_in(labels, problems).others) {
    if (file.extension() != ".txt" || file.filename() == "classes.txt") continue;
    AnnotatedImage image;
    image.file = image_named(images, file.stem().u8string());
    const auto size = read_image(image.file).size();
    const auto lines = split_lines(read_file(file, 1 << 28));
    for (std::size_t i = 0; i < lines.size(); ++i) {
      if (trimmed(lines[i]).empty()) continue;
      image.shapes.push_back(read_line(
          trimmed(lines[i]), utf8(file) + ": line " + std::to_string(i + 1), names, size));
    }
    found.push_back(std::move(image));
  }
  problems.throw_if_any();
  return found;
}

}  // namespace telvar_host
