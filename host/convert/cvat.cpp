#include <cmath>
#include <opencv2/imgproc.hpp>
#include <pugixml.hpp>

#include "app/errors.h"
#include "app/label.h"
#include "app/text.h"
#include "convert/annotations.h"
#include "convert/outlines.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

using Points = std::vector<cv::Point2d>;

// What stands in one element; errors name it and its image.
class Element {
 public:
  Element(const pugi::xml_node& node, std::string where) : node_(node), where_(std::move(where)) {}

  HostError error(const std::string& what) const {
    return data_error(where_ + ", " + node_.name() + ": " + what);
  }

  std::string text(const char* name) const {
    const auto attribute = node_.attribute(name);
    if (!attribute) throw error(std::string("'") + name + "' is missing");
    return attribute.value();
  }

  double number(const char* name) const { return parsed(text(name), name); }
  double number_or(const char* name, double other) const {
    return node_.attribute(name) ? number(name) : other;
  }

  int count(const char* name) const {
    const double value = number(name);
    if (value < 0 || value > 65535 || value != std::floor(value)) {
      throw error(std::string("'") + name + "' must be a whole number of pixels");
    }
    return static_cast<int>(value);
  }

  // "x,y;x,y;..."
  Points points(std::size_t least) const {
    Points points;
    for (const auto& pair : split(text("points"), ';')) {
      const auto parts = split(pair, ',');
      if (parts.size() != 2) throw error("'" + pair + "' in 'points' is no x,y");
      points.emplace_back(parsed(parts[0], "points"), parsed(parts[1], "points"));
    }
    if (points.size() < least) {
      throw error("needs " + std::to_string(least) + " points, has " +
                  std::to_string(points.size()));
    }
    return points;
  }

  std::vector<unsigned> runs() const {
    std::vector<unsigned> runs;
    for (const auto& part : split(text("rle"), ',')) {
      const double value = parsed(trimmed(part), "rle");
      if (value < 0 || value > 4e9 || value != std::floor(value)) throw error("'rle' is no runs");
      runs.push_back(static_cast<unsigned>(value));
    }
    return runs;
  }

 private:
  double parsed(const std::string& given, const char* name) const {
    const auto value = parse_number(trimmed(given));
    if (!value) throw error("'" + given + "' in '" + name + "' is no number");
    return *value;
  }

  const pugi::xml_node& node_;
  std::string where_;
};

// `rotation` in degrees, clockwise on the screen, about the centre.
Points turned(Points points, const cv::Point2d& centre, double rotation) {
  const double angle = rotation * CV_PI / 180;
  const double c = std::cos(angle), s = std::sin(angle);
  for (auto& p : points) {
    const auto d = p - centre;
    p = centre + cv::Point2d(c * d.x - s * d.y, s * d.x + c * d.y);
  }
  return points;
}

Points box_outline(const Element& box) {
  // Braces: the first that is missing is named.
  const cv::Point2d a{box.number("xtl"), box.number("ytl")};
  const cv::Point2d b{box.number("xbr"), box.number("ybr")};
  return turned({a, {b.x, a.y}, b, {a.x, b.y}}, (a + b) / 2, box.number_or("rotation", 0));
}

Points turned_ellipse(const Element& ellipse) {
  const cv::Point2d centre{ellipse.number("cx"), ellipse.number("cy")};
  const double rx = ellipse.number("rx"), ry = ellipse.number("ry");
  return turned(ellipse_outline(centre, rx, ry), centre, ellipse.number_or("rotation", 0));
}

// Runs of free and covered pixels, row by row inside a box.
void read_mask(const Element& element, const cv::Size& image, Shape& shape) {
  const cv::Rect box{element.count("left"), element.count("top"), element.count("width"),
                     element.count("height")};
  if (image.area() == 0) throw element.error("needs 'width' and 'height' of its image");
  if ((box & cv::Rect({0, 0}, image)) != box) throw element.error("lies outside its image");
  shape.mask = cv::Mat::zeros(image, CV_8U);
  std::uint64_t at = 0;
  bool covered = false;
  for (const unsigned run : element.runs()) {
    if (at + run > static_cast<std::uint64_t>(box.area())) {
      throw element.error("'rle' is longer than the box");
    }
    for (const auto end = at + run; at < end; ++at) {
      const int y = static_cast<int>(at / box.width), x = static_cast<int>(at % box.width);
      if (covered) shape.mask.at<unsigned char>(box.y + y, box.x + x) = 255;
    }
    covered = !covered;
  }
  shape.box = cv::Rect2d(box);
}

Shape read_shape(const Element& element, const std::string& kind, const cv::Size& image) {
  Shape shape;
  Points outline;
  if (kind == "box") {
    outline = box_outline(element);
  } else if (kind == "polygon") {
    outline = element.points(3);
  } else if (kind == "ellipse") {
    outline = turned_ellipse(element);
  } else if (kind == "points") {
    shape.box = box_around(element.points(1));
  } else if (kind == "mask") {
    read_mask(element, image, shape);
  } else {
    throw element.error("shapes of this kind are not understood");
  }
  shape.category = clean_label(element.text("label"));
  if (!outline.empty()) {
    shape.box = box_around(outline);
    shape.polygons.push_back(std::move(outline));
  }
  return shape;
}

AnnotatedImage read_annotations(const pugi::xml_node& node, const std::string& name,
                                const fs::path& images) {
  const auto file = Element(node, name).text("name");
  const auto where = name + ": " + file;
  const Element element(node, where);
  AnnotatedImage image;
  image.file = images / path_from_utf8(file);
  cv::Size size;
  if (node.attribute("width")) size = {element.count("width"), element.count("height")};
  for (const auto& child : node.children()) {
    const std::string kind = child.name();
    const Element shape(child, where);
    if (kind == "tag") {
      if (!image.category.empty()) throw shape.error("the image has two tags");
      image.category = clean_label(shape.text("label"));
    } else if (child.type() == pugi::node_element) {
      image.shapes.push_back(read_shape(shape, kind, size));
    }
  }
  return image;
}

}  // namespace

std::vector<AnnotatedImage> parse_cvat(const std::string& text, const std::string& name,
                                       const fs::path& images) {
  pugi::xml_document document;
  const auto parsed = document.load_buffer(text.data(), text.size());
  if (!parsed) {
    throw data_error(name + ": is no XML: " + parsed.description() + " at byte " +
                     std::to_string(parsed.offset));
  }
  const auto top = document.child("annotations");
  if (!top) throw data_error(name + ": has no <annotations>");
  if (top.child("track")) {
    throw data_error(name + ": labels a video; export it as \"CVAT for images\"");
  }
  std::vector<AnnotatedImage> found;
  for (const auto& node : top.children("image"))
    found.push_back(read_annotations(node, name, images));
  return found;
}

}  // namespace telvar_host
