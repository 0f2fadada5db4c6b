#include "predictions/labels.h"

#include <algorithm>
#include <memory>
#include <opencv2/core.hpp>

#include "app/errors.h"
#include "app/text.h"
#include "convert/label_writers.h"
#include "files/file_names.h"
#include "images/read_image.h"
#include "predictions/over_image.h"

namespace telvar_host {
namespace {

Shape character_shape(const Json& character, const LabelSettings& settings) {
  Shape shape;
  shape.category = character["category"].get<std::string>();
  shape.score = character["score"].get<double>();
  const double u = character["x"], v = character["y"];
  const auto [x, y] = settings.region ? settings.region->to_image(u, v) : std::pair(u, v);
  // Predictions have pixel centres at integers, boxes pixel corners.
  const double width = settings.size.width, height = settings.size.height;
  shape.box = cv::Rect2d(x + 0.5 - width / 2, y + 0.5 - height / 2, width, height);
  return shape;
}

void add_characters(AnnotatedImage& image, const Json& json, const LabelSettings& settings) {
  image.region = settings.region;
  for (const auto& line : json["lines"]) {
    for (const std::size_t index : line["characters"]) {
      const auto& character = json["characters"][index];
      if (!character["category"].get<std::string>().empty()) {
        image.shapes.push_back(character_shape(character, settings));
      }
    }
  }
}

template <typename ReadMask>
void add_masks(AnnotatedImage& image, const Json& json, const LabelSettings& settings,
               const ReadMask& read_mask) {
  cv::Size size;
  if (settings.region) size = read_image(image.file).size();
  for (const auto& [category, found] : json["categories"].items()) {
    const auto name = found["mask"].template get<std::string>();
    const auto mask = decoded_image(read_mask(name), path_from_utf8(name));
    const auto probability = over_image(mask, settings.region, size);
    Shape shape;
    shape.category = category;
    shape.mask = probability >= 128;
    if (cv::countNonZero(shape.mask) == 0) continue;
    shape.score = cv::mean(probability, shape.mask)[0] / 255;
    image.shapes.push_back(std::move(shape));
  }
}

void require_folder_names(const AnnotatedImage& image) {
  const auto require = [](const std::string& category) {
    if (file_name_of(category) == category) return;
    throw data_error("the category '" + category +
                     "' cannot be the name of a folder, as a data set needs it");
  };
  if (!image.category.empty()) require(image.category);
  for (const auto& shape : image.shapes) require(shape.category);
}

std::unique_ptr<LabelWriter> make_writer(const LabelSettings& settings, OutputFolder& out,
                                         const std::string& folder) {
  if (settings.format == "coco") return make_coco_writer(out, folder);
  if (settings.format == "labelme") return make_labelme_writer(out, folder);
  return make_dataset_writer(settings.tool, settings.size, out, folder);
}

}  // namespace

std::vector<std::size_t> least_certain(const std::vector<PredictedImage>& images,
                                       const std::optional<double>& limit) {
  const auto certainty = [&](std::size_t i) { return images[i].json["certainty"].get<double>(); };
  std::vector<std::size_t> chosen;
  for (std::size_t i = 0; i < images.size(); ++i) {
    if (images[i].json.contains("certainty") && (!limit || certainty(i) < *limit)) {
      chosen.push_back(i);
    }
  }
  std::stable_sort(chosen.begin(), chosen.end(),
                   [&](std::size_t a, std::size_t b) { return certainty(a) < certainty(b); });
  return chosen;
}

void write_labels(const std::vector<PredictedImage>& images, const std::vector<std::size_t>& chosen,
                  const LabelSettings& settings,
                  const std::function<std::string(const std::string&)>& read_mask,
                  OutputFolder& out, const std::string& folder) {
  const auto writer = make_writer(settings, out, folder);
  for (const auto index : chosen) {
    const auto& json = images[index].json;
    AnnotatedImage image;
    image.file = images[index].file;
    if (settings.tool == ToolKind::kClassifier)
      image.category = json["category"].get<std::string>();
    if (settings.tool == ToolKind::kOcr) add_characters(image, json, settings);
    if (settings.tool == ToolKind::kSegmenter) add_masks(image, json, settings, read_mask);
    if (settings.format == "dataset" && settings.tool != ToolKind::kOcr)
      require_folder_names(image);
    writer->add(image);
  }
  writer->finish();
}

}  // namespace telvar_host
