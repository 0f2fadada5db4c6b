// Writing labelled images as data sets, and for labelling programs.
#pragma once

#include <memory>
#include <string>

#include "app/tool_kind.h"
#include "convert/annotations.h"
#include "files/output.h"

namespace telvar_host {

// Takes the images one by one, and copies them beside the labels as they are (those of kinds that
// data sets do not hold as PNG). Images of the same name get a number each.
class LabelWriter {
 public:
  virtual ~LabelWriter() = default;
  // Throws data_error naming the image for an empty category and for what the format cannot hold.
  virtual void add(const AnnotatedImage& image) = 0;
  virtual void finish() = 0;
};

// This program's own data sets (docs/datasets.md), into `folder` of `out`:
//   classifier  a folder per category; a category that cannot be a folder's name is refused
//   segmenter   images/ with masks/CATEGORY/NAME.png; likewise, and a shape without an outline
//   ocr         the images and labels.json, with `size` where that is set; a character stands at
//   the
//               centre of its box, and a shape without a box is refused
std::unique_ptr<LabelWriter> make_dataset_writer(ToolKind tool, const NominalSize& size,
                                                 OutputFolder& out, const std::string& folder);

// One annotations.json for all images, which lie beside it. Masks become polygons (see
// outlines_of), regions are left out.
std::unique_ptr<LabelWriter> make_coco_writer(OutputFolder& out, const std::string& folder);

// NAME.json beside each image: a rectangle where there is nothing but a box, polygons otherwise,
// and scores in the description.
std::unique_ptr<LabelWriter> make_labelme_writer(OutputFolder& out, const std::string& folder);

}  // namespace telvar_host
