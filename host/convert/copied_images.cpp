#include "convert/copied_images.h"

#include "app/errors.h"
#include "app/text.h"
#include "files/input.h"
#include "images/read_image.h"

namespace telvar_host {

cv::Mat pixels_of(const AnnotatedImage& image) {
  return image.embedded.empty() ? read_image(image.file)
                                : decoded_image(image.embedded, image.file);
}

void require_labels(const AnnotatedImage& image) {
  for (const auto& shape : image.shapes) {
    if (trimmed(shape.category).empty()) {
      throw data_error(utf8(image.file) + ": has a shape with an empty label");
    }
  }
}

std::string CopiedImages::new_name(const AnnotatedImage& image, const std::string& folder) {
  const auto first = folder + image.file.stem().u8string();
  auto name = first;
  for (int n = 2; !used_.insert(name).second; ++n) name = first + "-" + std::to_string(n);
  return name;
}

std::string CopiedImages::copy(const AnnotatedImage& image, const cv::Mat& pixels,
                               const std::string& target) {
  const bool kept = has_image_name(image.file);
  auto copy = target + (kept ? image.file.extension().u8string() : ".png");
  if (!kept) {
    out_.write(path_from_utf8(copy), encoded(pixels, ".png"));
  } else {
    out_.write(path_from_utf8(copy),
               image.embedded.empty() ? read_file(image.file) : image.embedded);
  }
  return copy;
}

}  // namespace telvar_host
