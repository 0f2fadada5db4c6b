// Labels of images, on their way from one program's format to another's.
#pragma once

#include <filesystem>
#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>
#include <optional>
#include <string>
#include <vector>

#include "app/region.h"

namespace telvar_host {

// One labelled thing: an outline of one or more polygons in pixels (pixel corners at integers),
// runs of a mask, or a mask.
struct Shape {
  std::string category;
  std::vector<std::vector<cv::Point2d>> polygons;
  // Alternating counts of free and covered pixels, column by column, beginning with free ones.
  std::vector<unsigned> runs;
  cv::Size runs_size;             // of the image that they fill
  cv::Mat mask;                   // 8-bit, not 0 belongs, of the image's size
  std::optional<cv::Rect2d> box;  // COCO files for segmenters may lack it
  std::optional<double> score;    // of a prediction, 0..1
};

struct AnnotatedImage {
  std::filesystem::path file;
  std::string embedded;  // the file's bytes, where the labels hold them
  std::vector<Shape> shapes;
  std::string category;           // of the whole image, for the classifier
  std::optional<Region> region;   // ocr: where the characters were looked for
  std::vector<std::string> text;  // ocr: the lines, as far as known
};

// COCO: one file with images, annotations and categories; the images lie in the folder `images`.
// Polygons and runs, compressed or not, are understood. Throws data_error naming file and place.
std::vector<AnnotatedImage> parse_coco(const std::string& text, const std::string& name,
                                       const std::filesystem::path& images);

// labelme: one file per image, which it names relative to itself or holds. Polygons, rectangles,
// circles and points are understood.
AnnotatedImage parse_labelme(const std::string& text, const std::string& name,
                             const std::filesystem::path& folder);

// CVAT ("CVAT for images"): one XML file with boxes, polygons, ellipses, masks and points of each
// image; a tag is the category of the whole image. The images lie in the folder `images`. Throws
// data_error naming file, image and element.
std::vector<AnnotatedImage> parse_cvat(const std::string& text, const std::string& name,
                                       const std::filesystem::path& images);

// YOLO: NAME.txt for each image, with lines of a class and a box or polygon in shares of the image;
// the classes' names stand in classes.txt or obj.names, a line each, there or one folder up. Images
// lie in the folder `images`. Throws data_error naming file and line.
std::vector<AnnotatedImage> read_yolo(const std::filesystem::path& labels,
                                      const std::filesystem::path& images);

}  // namespace telvar_host
