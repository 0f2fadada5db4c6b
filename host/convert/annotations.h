// Labels of other programs, on their way to this one's data sets.
#pragma once

#include <filesystem>
#include <opencv2/core/types.hpp>
#include <optional>
#include <string>
#include <vector>

#include "files/output.h"

namespace telvar_host {

// One labelled thing: an outline of one or more polygons in pixels, or runs of a mask.
struct Shape {
  std::string category;
  std::vector<std::vector<cv::Point2d>> polygons;
  // Alternating counts of free and covered pixels, column by column, beginning with free ones.
  std::vector<unsigned> runs;
  cv::Size runs_size;             // of the picture that they fill
  std::optional<cv::Rect2d> box;  // COCO files for segmenters may lack it
};

struct AnnotatedPicture {
  std::filesystem::path file;
  std::vector<Shape> shapes;
};

// COCO: one file with images, annotations and categories; pictures lie in `images`. Polygons and
// runs, compressed or not, are understood. Throws data_error naming file and place.
std::vector<AnnotatedPicture> parse_coco(const std::string& text, const std::string& name,
                                         const std::filesystem::path& images);

// labelme: one file per picture, which it names relative to itself. Polygons, rectangles, circles
// and points are understood.
AnnotatedPicture parse_labelme(const std::string& text, const std::string& name,
                               const std::filesystem::path& folder);

// Both writers copy pictures as they are, and those of kinds that data sets do not hold as PNG.
// Both throw data_error when no picture has a label.

// A segmenter's data set: images/ with masks/CATEGORY/NAME.png. Throws data_error naming the
// picture for an empty category, one whose folder would be another's, a shape without an outline,
// and runs for a picture of another size.
void write_segmenter_set(const std::vector<AnnotatedPicture>& pictures, OutputFolder& out);

// A reader's data set: the pictures and labels.json; a character stands at the centre of its box.
// Throws data_error naming the picture for an empty category or a shape without a box.
void write_reader_set(const std::vector<AnnotatedPicture>& pictures, OutputFolder& out);

}  // namespace telvar_host
