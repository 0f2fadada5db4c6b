#include <map>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "app/json.h"
#include "app/text.h"
#include "convert/copied_images.h"
#include "convert/label_writers.h"
#include "convert/outlines.h"

namespace telvar_host {
namespace {

// Few enough corners to move them by hand, and hardly off the mask.
constexpr double kTolerance = 1;

using Polygons = std::vector<std::vector<cv::Point2d>>;

Polygons polygons_of(const Shape& shape, const cv::Size& size, const std::string& file) {
  if (!shape.polygons.empty() && shape.runs.empty() && shape.mask.empty()) return shape.polygons;
  cv::Mat mask = cv::Mat::zeros(size, CV_8U);
  fill_shape(mask, shape, file);
  return outlines_of(mask, kTolerance);
}

// Whether there is nothing but the box.
bool is_box(const Shape& shape) {
  return shape.box && shape.polygons.empty() && shape.runs.empty() && shape.mask.empty();
}

Json flat(const std::vector<cv::Point2d>& polygon) {
  auto list = Json::array();
  for (const auto& point : polygon) list.insert(list.end(), {point.x, point.y});
  return list;
}

class CocoWriter : public LabelWriter {
 public:
  CocoWriter(OutputFolder& out, std::string folder)
      : out_(out), images_(out), folder_(std::move(folder)) {}

  void add(const AnnotatedImage& image) override {
    require_labels(image);
    const auto pixels = pixels_of(image);
    const auto copy = images_.copy(image, pixels, images_.new_name(image, folder_));
    const auto id = list_.size() + 1;
    list_.push_back({{"id", id},
                     {"file_name", copy.substr(folder_.size())},
                     {"width", pixels.cols},
                     {"height", pixels.rows}});
    for (const auto& shape : image.shapes) {
      if (is_box(shape)) {
        const auto& b = *shape.box;
        add_annotation(
            id, shape, b, b.area(),
            {{b.x, b.y, b.x + b.width, b.y, b.x + b.width, b.y + b.height, b.x, b.y + b.height}});
        continue;
      }
      for (const auto& polygon : polygons_of(shape, pixels.size(), utf8(image.file))) {
        std::vector<cv::Point2f> points(polygon.begin(), polygon.end());
        const cv::Rect2f box = bounds(points);
        add_annotation(id, shape, box, cv::contourArea(points), Json::array({flat(polygon)}));
      }
    }
  }

  void finish() override {
    Json top = {{"images", list_}, {"annotations", annotations_}, {"categories", Json::array()}};
    for (const auto& name : categories_) {
      top["categories"].push_back({{"id", ids_[name]}, {"name", name}});
    }
    out_.write(path_from_utf8(folder_ + "annotations.json"), dumped(top, 1) + "\n");
  }

 private:
  static cv::Rect2f bounds(const std::vector<cv::Point2f>& points) {
    cv::Point2f low = points.front(), high = points.front();
    for (const auto& p : points) {
      low = {std::min(low.x, p.x), std::min(low.y, p.y)};
      high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    return {low, high};
  }

  std::size_t id_of(const std::string& category) {
    const auto [entry, fresh] = ids_.emplace(category, ids_.size() + 1);
    if (fresh) categories_.push_back(category);
    return entry->second;
  }

  void add_annotation(std::size_t image, const Shape& shape, const cv::Rect2d& box, double area,
                      const Json& segmentation) {
    Json annotation = {{"id", annotations_.size() + 1},
                       {"image_id", image},
                       {"category_id", id_of(shape.category)},
                       {"bbox", {box.x, box.y, box.width, box.height}},
                       {"area", area},
                       {"iscrowd", 0},
                       {"segmentation", segmentation}};
    if (shape.score) annotation["score"] = *shape.score;
    annotations_.push_back(std::move(annotation));
  }

  OutputFolder& out_;
  CopiedImages images_;
  std::string folder_;
  Json list_ = Json::array();
  Json annotations_ = Json::array();
  std::vector<std::string> categories_;  // in the order of their ids
  std::map<std::string, std::size_t> ids_;
};

class LabelmeWriter : public LabelWriter {
 public:
  LabelmeWriter(OutputFolder& out, std::string folder)
      : out_(out), images_(out), folder_(std::move(folder)) {}

  void add(const AnnotatedImage& image) override {
    require_labels(image);
    const auto pixels = pixels_of(image);
    const auto name = images_.new_name(image, folder_);
    const auto copy = images_.copy(image, pixels, name);
    Json file = {{"version", "5.0.0"},       {"flags", Json::object()},
                 {"shapes", Json::array()},  {"imagePath", copy.substr(folder_.size())},
                 {"imageData", nullptr},     {"imageHeight", pixels.rows},
                 {"imageWidth", pixels.cols}};
    if (!image.category.empty()) file["flags"][image.category] = true;
    for (const auto& shape : image.shapes) add_shape(file["shapes"], shape, pixels.size(), image);
    out_.write(path_from_utf8(name + ".json"), dumped(file) + "\n");
  }
  void finish() override {}

 private:
  static void add_shape(Json& shapes, const Shape& shape, const cv::Size& size,
                        const AnnotatedImage& image) {
    const auto push = [&](const char* type, Json points) {
      const auto note = shape.score ? "score " + fixed(*shape.score, 3) : std::string();
      shapes.push_back({{"label", shape.category},
                        {"points", std::move(points)},
                        {"group_id", nullptr},
                        {"description", note},
                        {"shape_type", type},
                        {"flags", Json::object()}});
    };
    if (is_box(shape)) {
      const auto& b = *shape.box;
      push("rectangle", Json::array({{b.x, b.y}, {b.x + b.width, b.y + b.height}}));
      return;
    }
    for (const auto& polygon : polygons_of(shape, size, utf8(image.file))) {
      auto points = Json::array();
      for (const auto& point : polygon) points.push_back({point.x, point.y});
      push("polygon", std::move(points));
    }
  }

  OutputFolder& out_;
  CopiedImages images_;
  std::string folder_;
};

}  // namespace

std::unique_ptr<LabelWriter> make_coco_writer(OutputFolder& out, const std::string& folder) {
  return std::make_unique<CocoWriter>(out, folder);
}

std::unique_ptr<LabelWriter> make_labelme_writer(OutputFolder& out, const std::string& folder) {
  return std::make_unique<LabelmeWriter>(out, folder);
}

}  // namespace telvar_host
