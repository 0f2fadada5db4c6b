#include <algorithm>
#include <cmath>
#include <map>
#include <opencv2/core.hpp>
#include <set>

#include "app/errors.h"
#include "app/text.h"
#include "commands/process_items.h"
#include "convert/annotations.h"
#include "datasets/ocr_labels.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

void fill_runs(cv::Mat& mask, const std::vector<unsigned>& runs, const std::string& file) {
  std::size_t at = 0;
  const std::size_t total = mask.total();
  for (std::size_t i = 0; i < runs.size(); ++i) {
    if (runs[i] > total - at) throw data_error(file + ": the runs of a mask exceed the picture");
    for (std::size_t k = 0; i % 2 == 1 && k < runs[i]; ++k) {
      const auto pixel = at + k;
      mask.at<unsigned char>(static_cast<int>(pixel % mask.rows),
                             static_cast<int>(pixel / mask.rows)) = 255;
    }
    at += runs[i];
  }
}

// A pixel belongs when its centre lies inside (even-odd rule); outlines have pixel corners at
// integers. OpenCV's filling would add the pixels that the outline touches.
void fill_polygon(cv::Mat& mask, const std::vector<cv::Point2d>& polygon) {
  for (int y = 0; y < mask.rows; ++y) {
    const double row = y + 0.5;
    std::vector<double> crossings;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const auto &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
      if ((a.y <= row) != (b.y <= row)) {
        crossings.push_back(a.x + (row - a.y) / (b.y - a.y) * (b.x - a.x));
      }
    }
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
      const double left = std::clamp(std::ceil(crossings[i] - 0.5), 0.0, double(mask.cols));
      const double right = std::clamp(std::ceil(crossings[i + 1] - 0.5), 0.0, double(mask.cols));
      for (int x = static_cast<int>(left); x < right; ++x) mask.at<unsigned char>(y, x) = 255;
    }
  }
}

void fill_shape(cv::Mat& mask, const Shape& shape, const std::string& file) {
  if (shape.polygons.empty() && shape.runs.empty()) {
    throw data_error(file + ": a label '" + shape.category + "' has no outline to make a mask of");
  }
  for (const auto& polygon : shape.polygons) fill_polygon(mask, polygon);
  fill_runs(mask, shape.runs, file);
}

// Two pictures of one name would overwrite each other.
std::string unique_name(const fs::path& file, std::set<std::string>& used) {
  auto stem = file.stem().u8string();
  const auto first = stem;
  for (int n = 2; !used.insert(stem).second; ++n) stem = first + "-" + std::to_string(n);
  return stem;
}

}  // namespace

void write_segmenter_set(const std::vector<AnnotatedPicture>& pictures, OutputFolder& out) {
  std::set<std::string> used;
  for (const auto& picture : pictures) {
    const auto pixels = read_picture(picture.file);
    const auto name = unique_name(picture.file, used);
    std::map<std::string, cv::Mat> masks;
    for (const auto& shape : picture.shapes) {
      auto& mask = masks[shape.category];
      if (mask.empty()) mask = cv::Mat::zeros(pixels.size(), CV_8U);
      fill_shape(mask, shape, utf8(picture.file));
    }
    out.write(path_from_utf8("images/" + name + picture.file.extension().u8string()),
              read_file(picture.file));
    for (const auto& [category, mask] : masks) {
      out.write(path_from_utf8("masks/" + file_name_of(category) + "/" + name + ".png"),
                encoded(mask, ".png"));
    }
  }
}

void write_reader_set(const std::vector<AnnotatedPicture>& pictures, OutputFolder& out) {
  std::set<std::string> used;
  OcrData data;
  for (const auto& picture : pictures) {
    read_picture(picture.file);
    OcrItem item;
    item.file =
        path_from_utf8(unique_name(picture.file, used) + picture.file.extension().u8string());
    for (const auto& shape : picture.shapes) {
      item.characters.push_back(
          {shape.box.x + shape.box.width / 2 - (shape.box.width > 0 ? 0.5 : 0),
           shape.box.y + shape.box.height / 2 - (shape.box.height > 0 ? 0.5 : 0), shape.category});
    }
    out.write(item.file, read_file(picture.file));
    data.items.push_back(std::move(item));
  }
  out.write("labels.json", labels_json(data, ""));
}

}  // namespace telvar_host
