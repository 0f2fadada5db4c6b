#include "images/read_image.h"

#include <algorithm>
#include <cctype>
#include <opencv2/imgproc.hpp>

#include "app/errors.h"
#include "app/text.h"
#include "files/input.h"
#include "images/codecs/codecs.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

std::string lower_extension(const fs::path& path) {
  auto extension = path.extension().u8string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

bool is_one_of(const std::string& value, std::initializer_list<const char*> list) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

bool has_image_name(const fs::path& path) {
  return is_one_of(lower_extension(path), {".png", ".jpg", ".jpeg", ".tif", ".tiff", ".bmp", ".pgm",
                                           ".ppm", ".pbm", ".pnm", ".webp"});
}

bool has_jpeg_name(const fs::path& path) {
  return is_one_of(lower_extension(path), {".jpg", ".jpeg"});
}

bool has_foreign_image_name(const fs::path& path) {
  return is_one_of(lower_extension(path), {".gif", ".heic", ".heif", ".avif", ".jp2", ".jxl",
                                           ".exr", ".hdr", ".tga", ".dng", ".svg"});
}

cv::Mat read_image(const fs::path& path) {
  std::error_code lost;
  // A pipe that nobody writes to would be waited for without end.
  if (fs::exists(path, lost) && !fs::is_regular_file(path, lost) && !fs::is_directory(path, lost)) {
    throw data_error(utf8(path) + ": is a pipe or a device, not a file");
  }
  return decoded_image(read_file(path, (std::uintmax_t{1} << 31) - 1), path);
}

cv::Mat decoded_image(const std::string& bytes, const fs::path& path) {
  if (bytes.empty()) throw data_error(utf8(path) + ": is empty");
  try {
    return decode_image(bytes);
  } catch (const ImageError& error) {
    throw data_error(utf8(path) + ": " + error.what());
  } catch (const cv::Exception& error) {
    throw data_error(utf8(path) + ": cannot be decoded: " + trimmed(error.err));
  }
}

std::string encoded(const cv::Mat& image, const std::string& extension) {
  constexpr int kQuality = 85;
  try {
    return extension == ".jpg" ? encode_jpeg(image, kQuality) : encode_png(image);
  } catch (const ImageError& error) {
    throw failure(std::string("an image ") + error.what());
  }
}

cv::Mat displayable(const cv::Mat& image) {
  cv::Mat shown = image;
  if (shown.depth() == CV_16U) shown.convertTo(shown, CV_8U, 1.0 / 257.0);
  if (shown.channels() == 1) cv::cvtColor(shown, shown, cv::COLOR_GRAY2BGR);
  if (shown.channels() == 4) cv::cvtColor(shown, shown, cv::COLOR_BGRA2BGR);
  return shown.data == image.data ? shown.clone() : shown;
}

}  // namespace telvar_host
