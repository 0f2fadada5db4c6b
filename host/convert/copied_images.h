// Images on their way into a data set.
#pragma once

#include <opencv2/core/mat.hpp>
#include <set>
#include <string>

#include "convert/annotations.h"
#include "files/output.h"

namespace telvar_host {

// The image's pixels. Throws data_error naming the file.
cv::Mat pixels_of(const AnnotatedImage& image);

// Throws data_error naming the image when a shape's category is empty.
void require_labels(const AnnotatedImage& image);

// Copies images into an output folder under names of their own.
class CopiedImages {
 public:
  explicit CopiedImages(OutputFolder& out) : out_(out) {}

  // A name without an extension that no other image in `folder` has.
  std::string new_name(const AnnotatedImage& image, const std::string& folder);

  // To `target` with the image's extension; returns that path.
  std::string copy(const AnnotatedImage& image, const cv::Mat& pixels, const std::string& target);

 private:
  OutputFolder& out_;
  std::set<std::string> used_;
};

}  // namespace telvar_host
