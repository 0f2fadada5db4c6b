#include "images/read_image.h"

#include <algorithm>
#include <cctype>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "app/errors.h"
#include "app/terminal.h"
#include "app/text.h"
#include "files/input.h"
#include "images/header_size.h"

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

bool is_jpeg(const std::string& bytes) {
  return bytes.compare(0, 2, "\xFF\xD8") == 0;
}

// Where the first scan starts (ITU-T T.81, Annex B), or npos. The segments before it may hold a
// thumbnail, a whole JPEG of its own.
std::size_t jpeg_scan(const std::string& bytes) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  for (std::size_t at = 2; at + 4 <= bytes.size() && byte(at) == 0xFF;) {
    if (byte(at + 1) == 0xFF) {  // fill
      ++at;
      continue;
    }
    const std::size_t length = byte(at + 2) * 256U + byte(at + 3);
    if (length < 2) break;
    if (byte(at + 1) == 0xDA) return at + 2 + length;
    at += 2 + length;
  }
  return std::string::npos;
}

// The JPEG decoder fills what is missing with gray and says nothing, so look for the end marker,
// which entropy-coded data cannot hold. Some cameras append their own data after it.
bool jpeg_is_cut_off(const std::string& bytes) {
  const auto scan = jpeg_scan(bytes);
  return scan == std::string::npos || bytes.find("\xFF\xD9", scan) == std::string::npos;
}

bool is_supported(const cv::Mat& image) {
  const bool depth = image.depth() == CV_8U || image.depth() == CV_16U;
  const int channels = image.channels();
  return depth && (channels == 1 || channels == 3 || channels == 4);
}

// What no tool takes is not decoded first, which would take up to some gigabytes.
void require_fair_size(const std::string& bytes, const fs::path& path) {
  constexpr std::uint64_t kLongestSide = 32768, kMostPixels = std::uint64_t{1} << 28;
  const auto size = size_in_header(bytes);
  if (!size) return;
  const auto [width, height] = *size;
  if (width > kLongestSide || height > kLongestSide || width * height > kMostPixels) {
    throw data_error(utf8(path) + ": is " + std::to_string(width) + " x " + std::to_string(height) +
                     " pixels; images have at most 32768 a side and 2^28 in all");
  }
}

cv::Mat decode(const std::string& bytes, const fs::path& path) {
  const cv::Mat buffer(1, static_cast<int>(bytes.size()), CV_8U, const_cast<char*>(bytes.data()));
  // Orientation tags are common in JPEG only, and OpenCV applies them only without UNCHANGED.
  const int flags =
      is_jpeg(bytes) ? cv::IMREAD_ANYCOLOR | cv::IMREAD_ANYDEPTH : cv::IMREAD_UNCHANGED;
  const SilencedLibraries silence;
  try {
    return cv::imdecode(buffer, flags);
  } catch (const cv::Exception& error) {
    throw data_error(utf8(path) + ": cannot be decoded: " + trimmed(error.err));
  }
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
  require_fair_size(bytes, path);
  if (is_jpeg(bytes) && jpeg_is_cut_off(bytes)) throw data_error(utf8(path) + ": JPEG is cut off");
  cv::Mat image = decode(bytes, path);
  if (image.empty()) throw data_error(utf8(path) + ": is no readable image");
  if (!is_supported(image)) {
    throw data_error(utf8(path) +
                     ": has pixels of an unsupported type (8 or 16 bit with 1, 3 or 4 "
                     "channels are read)");
  }
  return image;
}

std::string encoded(const cv::Mat& image, const std::string& extension) {
  std::vector<unsigned char> bytes;
  const std::vector<int> options =
      extension == ".jpg" ? std::vector<int>{cv::IMWRITE_JPEG_QUALITY, 85} : std::vector<int>{};
  if (!cv::imencode(extension, image, bytes, options)) {
    throw failure("cannot encode an image as " + extension);
  }
  return std::string(bytes.begin(), bytes.end());
}

cv::Mat decoded(const std::string& bytes) {
  const cv::Mat buffer(1, static_cast<int>(bytes.size()), CV_8U, const_cast<char*>(bytes.data()));
  return cv::imdecode(buffer, cv::IMREAD_UNCHANGED);
}

cv::Mat displayable(const cv::Mat& image) {
  cv::Mat shown = image;
  if (shown.depth() == CV_16U) shown.convertTo(shown, CV_8U, 1.0 / 257.0);
  if (shown.channels() == 1) cv::cvtColor(shown, shown, cv::COLOR_GRAY2BGR);
  if (shown.channels() == 4) cv::cvtColor(shown, shown, cv::COLOR_BGRA2BGR);
  return shown.data == image.data ? shown.clone() : shown;
}

}  // namespace telvar_host
