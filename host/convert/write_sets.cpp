#include <algorithm>
#include <cmath>
#include <map>
#include <opencv2/core.hpp>
#include <set>

#include "app/errors.h"
#include "app/text.h"
#include "convert/annotations.h"
#include "datasets/ocr_labels.h"
#include "files/file_names.h"
#include "files/input.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

std::string text_of(const cv::Size& size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height);
}

// The runs fill their size (see parse_coco).
void fill_runs(cv::Mat& mask, const Shape& shape, const std::string& file) {
  const auto& runs = shape.runs;
  if (!runs.empty() && shape.runs_size != mask.size()) {
    throw data_error(file + ": is " + text_of(mask.size()) + ", but the runs of a label '" +
                     shape.category + "' are for " + text_of(shape.runs_size));
  }
  std::size_t at = 0;
  for (std::size_t i = 0; i < runs.size(); ++i) {
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
  fill_runs(mask, shape, file);
}

void require_any_label(const std::vector<AnnotatedPicture>& pictures) {
  for (const auto& picture : pictures) {
    if (!picture.shapes.empty()) return;
  }
  throw data_error(utf8(pictures.front().file) + ": has no labels, nor has any other picture");
}

void require_labels(const AnnotatedPicture& picture) {
  for (const auto& shape : picture.shapes) {
    if (trimmed(shape.category).empty()) {
      throw data_error(utf8(picture.file) + ": has a shape with an empty label");
    }
  }
}

// Folders of masks by category. Two categories in one folder would lose the masks of one.
class MaskFolders {
 public:
  std::string of(const std::string& category, const fs::path& file) {
    const auto folder = file_name_of(category);
    const auto& first = categories_.emplace(folder, category).first->second;
    if (first != category) {
      throw data_error(utf8(file) + ": the masks of '" + first + "' and '" + category +
                       "' would both lie in masks/" + folder + "; rename one of the categories");
    }
    return "masks/" + folder + "/";
  }

 private:
  std::map<std::string, std::string> categories_;
};

// Two pictures of one name would overwrite each other.
std::string unique_name(const fs::path& file, std::set<std::string>& used) {
  auto stem = file.stem().u8string();
  const auto first = stem;
  for (int n = 2; !used.insert(stem).second; ++n) stem = first + "-" + std::to_string(n);
  return stem;
}

// Returns where in `out` the picture is.
fs::path copy_picture(const fs::path& file, const cv::Mat& pixels, const std::string& target,
                      OutputFolder& out) {
  const bool kept = has_picture_name(file);
  const auto copy = path_from_utf8(target + (kept ? file.extension().u8string() : ".png"));
  out.write(copy, kept ? read_file(file) : encoded(pixels, ".png"));
  return copy;
}

}  // namespace

void write_segmenter_set(const std::vector<AnnotatedPicture>& pictures, OutputFolder& out) {
  require_any_label(pictures);
  std::set<std::string> used;
  MaskFolders folders;
  for (const auto& picture : pictures) {
    require_labels(picture);
    const auto pixels = read_picture(picture.file);
    const auto name = unique_name(picture.file, used);
    std::map<std::string, cv::Mat> masks;
    for (const auto& shape : picture.shapes) {
      auto& mask = masks[shape.category];
      if (mask.empty()) mask = cv::Mat::zeros(pixels.size(), CV_8U);
      fill_shape(mask, shape, utf8(picture.file));
    }
    copy_picture(picture.file, pixels, "images/" + name, out);
    for (const auto& [category, mask] : masks) {
      out.write(path_from_utf8(folders.of(category, picture.file) + name + ".png"),
                encoded(mask, ".png"));
    }
  }
}

void write_reader_set(const std::vector<AnnotatedPicture>& pictures, OutputFolder& out) {
  require_any_label(pictures);
  std::set<std::string> used;
  OcrData data;
  for (const auto& picture : pictures) {
    require_labels(picture);
    const auto pixels = read_picture(picture.file);
    OcrItem item;
    item.file = copy_picture(picture.file, pixels, unique_name(picture.file, used), out);
    for (const auto& shape : picture.shapes) {
      if (!shape.box) {
        throw data_error(utf8(picture.file) + ": a label '" + shape.category + "' has no box");
      }
      const auto& box = *shape.box;
      item.characters.push_back({box.x + box.width / 2 - (box.width > 0 ? 0.5 : 0),
                                 box.y + box.height / 2 - (box.height > 0 ? 0.5 : 0),
                                 shape.category});
    }
    data.items.push_back(std::move(item));
  }
  out.write("labels.json", labels_json(data, ""));
}

}  // namespace telvar_host
