#include <cmath>
#include <opencv2/imgproc.hpp>

#include "app/base64.h"
#include "app/label.h"
#include "app/text.h"
#include "convert/annotations.h"
#include "convert/outlines.h"
#include "datasets/json_reader.h"

namespace telvar_host {
namespace {

using Points = std::vector<cv::Point2d>;

Points read_points(const JsonValue& list) {
  Points points;
  for (std::size_t i = 0; i < list.size(); ++i) {
    points.emplace_back(list.at(i).at(0).number(), list.at(i).at(1).number());
  }
  return points;
}

Points circle(const cv::Point2d& centre, const cv::Point2d& edge) {
  const double radius = std::hypot(edge.x - centre.x, edge.y - centre.y);
  return ellipse_outline(centre, radius, radius);
}

Points outline(const std::string& type, const Points& points, const JsonValue& where) {
  const auto need = [&](std::size_t count) {
    if (points.size() >= count) return;
    throw where.error("a " + type + " needs " + counted(count, "point") + ", has " +
                      std::to_string(points.size()));
  };
  if (type == "polygon") {
    need(3);
    return points;
  }
  if (type == "rectangle") {
    need(2);
    const auto &a = points[0], &b = points[1];
    return {a, {b.x, a.y}, b, {a.x, b.y}};
  }
  if (type == "circle") {
    need(2);
    return circle(points[0], points[1]);
  }
  if (type == "point") {
    need(1);
    return {};
  }
  throw where.error("the shape type '" + type + "' is not understood");
}

}  // namespace

AnnotatedImage parse_labelme(const std::string& text, const std::string& name,
                             const std::filesystem::path& folder) {
  const auto document = parse_json(text, name);
  const JsonValue top(document, name, "");
  AnnotatedImage image;
  auto path = top.at("imagePath").string();
  // Files labelled on Windows name their image with backslashes.
  for (char& c : path) c = c == '\\' ? '/' : c;
  image.file = folder / path_from_utf8(path);
  std::error_code lost;
  if (!std::filesystem::exists(image.file, lost) && top.has("imageData") &&
      top.at("imageData").raw().is_string()) {
    const auto bytes = from_base64(top.at("imageData").string());
    if (!bytes) throw top.at("imageData").error("is no base64");
    image.embedded = *bytes;
  }
  const auto shapes = top.at("shapes");
  for (std::size_t i = 0; i < shapes.size(); ++i) {
    const auto shape = shapes.at(i);
    const auto points = read_points(shape.at("points"));
    const bool typed = shape.has("shape_type") && !shape.at("shape_type").raw().is_null();
    const auto type = typed ? shape.at("shape_type").string() : "polygon";
    const auto polygon = outline(type, points, shape);
    Shape read;
    read.category = clean_label(shape.at("label").string());
    read.box = box_around(polygon.empty() ? points : polygon);
    if (!polygon.empty()) read.polygons.push_back(polygon);
    image.shapes.push_back(std::move(read));
  }
  return image;
}

}  // namespace telvar_host
