#include <cstdint>
#include <map>
#include <numeric>

#include "app/label.h"
#include "app/text.h"
#include "convert/annotations.h"
#include "datasets/json_reader.h"

namespace telvar_host {
namespace {

constexpr unsigned kLargestSide = 65535;

std::map<double, std::string> read_categories(const JsonValue& list) {
  std::map<double, std::string> names;
  for (std::size_t i = 0; i < list.size(); ++i) {
    names[list.at(i).at("id").number()] = clean_label(list.at(i).at("name").string());
  }
  return names;
}

std::vector<cv::Point2d> read_polygon(const JsonValue& list) {
  if (list.size() < 6 || list.size() % 2 != 0)
    throw list.error("expected x, y pairs of three points or more");
  std::vector<cv::Point2d> points;
  for (std::size_t i = 0; i < list.size(); i += 2) {
    points.emplace_back(list.at(i).number(), list.at(i + 1).number());
  }
  return points;
}

// Only readers need boxes, and only segmenters outlines: what is null, or a box that is cut short,
// is missed when the data set is written.
std::optional<cv::Rect2d> read_box(const JsonValue& box) {
  if (!box.raw().is_array() || box.size() != 4) return {};
  return cv::Rect2d(box.at(0).number(), box.at(1).number(), box.at(2).number(), box.at(3).number());
}

// Runs in a string, as COCO's own tools write them: from the fourth on, what is to be added to the
// run two before. Five bits a character (counted from '0'), the lowest first; bit 5 says that more
// follow, and bit 4 of the last is the sign.
std::vector<unsigned> read_compressed_runs(const JsonValue& counts) {
  std::vector<unsigned> runs;
  std::int64_t value = 0;
  int bits = 0;
  const auto refuse = [&] { throw counts.error("is no list of compressed runs"); };
  for (const char character : counts.string()) {
    const int group = character - '0';
    if (group < 0 || group > 63 || bits > 30) refuse();
    value |= static_cast<std::int64_t>(group & 31) << bits;
    bits += 5;
    if (group & 32) continue;
    if (group & 16) value -= std::int64_t{1} << bits;
    if (runs.size() > 2) value += runs[runs.size() - 2];
    if (value < 0 || value > std::int64_t{kLargestSide} * kLargestSide) refuse();
    runs.push_back(static_cast<unsigned>(value));
    value = bits = 0;
  }
  if (bits > 0) refuse();
  return runs;
}

std::vector<unsigned> read_runs(const JsonValue& counts) {
  if (counts.raw().is_string()) return read_compressed_runs(counts);
  std::vector<unsigned> runs;
  for (std::size_t i = 0; i < counts.size(); ++i) runs.push_back(counts.at(i).count());
  return runs;
}

void read_outline(const JsonValue& segmentation, Shape& shape) {
  if (segmentation.raw().is_null()) return;
  if (segmentation.raw().is_array()) {
    for (std::size_t i = 0; i < segmentation.size(); ++i) {
      shape.polygons.push_back(read_polygon(segmentation.at(i)));
    }
    return;
  }
  const auto counts = segmentation.at("counts");
  const auto size = segmentation.at("size");  // height, width
  const std::uint64_t height = size.at(0).count(), width = size.at(1).count();
  if (height > kLargestSide || width > kLargestSide) throw size.error("is larger than 65535");
  shape.runs = read_runs(counts);
  const auto sum = std::accumulate(shape.runs.begin(), shape.runs.end(), std::uint64_t{0});
  if (sum != width * height) {
    throw counts.error("the runs cover " + std::to_string(sum) + " pixels, 'size' has " +
                       std::to_string(width * height));
  }
  shape.runs_size = {static_cast<int>(width), static_cast<int>(height)};
}

Shape read_shape(const JsonValue& annotation, const std::map<double, std::string>& categories) {
  Shape shape;
  const auto id = annotation.at("category_id");
  const auto category = categories.find(id.number());
  if (category == categories.end()) throw id.error("names no category");
  shape.category = category->second;
  if (annotation.has("bbox")) shape.box = read_box(annotation.at("bbox"));
  if (annotation.has("segmentation")) read_outline(annotation.at("segmentation"), shape);
  return shape;
}

}  // namespace

std::vector<AnnotatedImage> parse_coco(const std::string& text, const std::string& name,
                                       const std::filesystem::path& images) {
  const auto document = parse_json(text, name);
  const JsonValue top(document, name, "");
  const auto categories = read_categories(top.at("categories"));
  std::map<double, AnnotatedImage> images_by_id;
  const auto list = top.at("images");
  for (std::size_t i = 0; i < list.size(); ++i) {
    images_by_id[list.at(i).at("id").number()].file =
        images / path_from_utf8(list.at(i).at("file_name").string());
  }
  const auto annotations = top.at("annotations");
  for (std::size_t i = 0; i < annotations.size(); ++i) {
    const auto id = annotations.at(i).at("image_id");
    const auto image = images_by_id.find(id.number());
    if (image == images_by_id.end()) throw id.error("names no image");
    image->second.shapes.push_back(read_shape(annotations.at(i), categories));
  }
  std::vector<AnnotatedImage> result;
  result.reserve(images_by_id.size());
  for (auto& entry : images_by_id) result.push_back(std::move(entry.second));
  return result;
}

}  // namespace telvar_host
