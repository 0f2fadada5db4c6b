#include <map>
#include <opencv2/core.hpp>

#include "app/errors.h"
#include "app/text.h"
#include "convert/copied_images.h"
#include "convert/label_writers.h"
#include "convert/outlines.h"
#include "datasets/ocr_labels.h"
#include "files/file_names.h"
#include "images/read_image.h"

namespace telvar_host {
namespace {

// Folders by category. What two categories have in one folder would be one's afterwards.
class CategoryFolders {
 public:
  explicit CategoryFolders(std::string what) : what_(std::move(what)) {}

  std::string of(const std::string& category, const AnnotatedImage& image) {
    const auto folder = file_name_of(category);
    const auto& first = categories_.emplace(folder, category).first->second;
    if (first != category) {
      throw data_error(utf8(image.file) + ": the " + what_ + " of '" + first + "' and '" +
                       category + "' would both lie in " + what_ + "/" + folder +
                       "; rename one of the categories");
    }
    return folder + "/";
  }

 private:
  std::string what_;
  std::map<std::string, std::string> categories_;  // by folder
};

class ClassifierSet : public LabelWriter {
 public:
  ClassifierSet(OutputFolder& out, std::string folder)
      : images_(out), folder_(std::move(folder)), folders_("images") {}

  void add(const AnnotatedImage& image) override {
    if (trimmed(image.category).empty()) {
      throw data_error(utf8(image.file) + ": has no category");
    }
    const auto name = images_.new_name(image, folder_ + folders_.of(image.category, image));
    images_.copy(image, has_image_name(image.file) ? cv::Mat() : pixels_of(image), name);
  }
  void finish() override {}

 private:
  CopiedImages images_;
  std::string folder_;
  CategoryFolders folders_;
};

class SegmenterSet : public LabelWriter {
 public:
  SegmenterSet(OutputFolder& out, std::string folder)
      : out_(out), images_(out), folder_(std::move(folder)), folders_("masks") {}

  void add(const AnnotatedImage& image) override {
    require_labels(image);
    const auto pixels = pixels_of(image);
    std::map<std::string, cv::Mat> masks;
    for (const auto& shape : image.shapes) {
      auto& mask = masks[shape.category];
      if (mask.empty()) mask = cv::Mat::zeros(pixels.size(), CV_8U);
      fill_shape(mask, shape, utf8(image.file));
    }
    const auto name = images_.new_name(image, "");
    images_.copy(image, pixels, folder_ + "images/" + name);
    for (const auto& [category, mask] : masks) {
      const auto file = folder_ + "masks/" + folders_.of(category, image) + name + ".png";
      out_.write(path_from_utf8(file), encoded(mask, ".png"));
    }
  }
  void finish() override {}

 private:
  OutputFolder& out_;
  CopiedImages images_;
  std::string folder_;
  CategoryFolders folders_;
};

class ReaderSet : public LabelWriter {
 public:
  ReaderSet(const NominalSize& size, OutputFolder& out, std::string folder)
      : out_(out), images_(out), folder_(std::move(folder)) {
    data_.size = size;
  }

  void add(const AnnotatedImage& image) override {
    require_labels(image);
    OcrItem item;
    const auto name = images_.new_name(image, "");
    item.file = path_from_utf8(images_.copy(image, pixels_of(image), name_in(name)));
    item.region = image.region;
    item.lines = image.text;
    for (const auto& shape : image.shapes) item.characters.push_back(mark_of(shape, image));
    data_.items.push_back(std::move(item));
  }

  void finish() override {
    out_.write(path_from_utf8(name_in("labels.json")), labels_json(data_, folder_));
  }

 private:
  std::string name_in(const std::string& name) const { return folder_ + name; }

  static CharacterMark mark_of(const Shape& shape, const AnnotatedImage& image) {
    if (!shape.box) {
      throw data_error(utf8(image.file) + ": a label '" + shape.category + "' has no box");
    }
    const auto& box = *shape.box;
    // Boxes have pixel corners at integers, marks pixel centres.
    CharacterMark mark{box.x + box.width / 2 - (box.width > 0 ? 0.5 : 0),
                       box.y + box.height / 2 - (box.height > 0 ? 0.5 : 0), shape.category};
    if (box.width > 0 && box.height > 0) mark.box = {{box.width, box.height}};
    mark.score = shape.score;
    return mark;
  }

  OutputFolder& out_;
  CopiedImages images_;
  std::string folder_;
  OcrData data_;
};

}  // namespace

std::unique_ptr<LabelWriter> make_dataset_writer(ToolKind tool, const NominalSize& size,
                                                 OutputFolder& out, const std::string& folder) {
  switch (tool) {
    case ToolKind::kOcr:
      return std::make_unique<ReaderSet>(size, out, folder);
    case ToolKind::kClassifier:
      return std::make_unique<ClassifierSet>(out, folder);
    case ToolKind::kSegmenter:
      break;
  }
  return std::make_unique<SegmenterSet>(out, folder);
}

}  // namespace telvar_host
