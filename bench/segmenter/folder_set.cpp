#include "folder_set.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "images/codecs/codecs.h"

namespace telvar::bench {
namespace {

namespace fs = std::filesystem;

cv::Mat read_image(const fs::path& path, int most_channels) {
  cv::Mat image = telvar_host::decode_file(path.string());
  if (image.depth() != CV_8U || image.channels() > most_channels) {
    throw std::runtime_error(path.string() + ": more than 8 bits, or too many channels");
  }
  return image;
}

std::vector<LabelledImage> read_part(const fs::path& part, std::size_t limit,
                                     std::set<std::string>& categories) {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::directory_iterator(part / "images")) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  const std::size_t count = std::min(limit, paths.size());
  std::vector<LabelledImage> images;
  for (std::size_t i = 0; i < count; ++i) {
    const fs::path& path = paths[i * paths.size() / count];
    LabelledImage labelled{read_image(path, 3), {}};
    const cv::Mat values = read_image(part / "masks" / path.filename(), 1);
    std::array<bool, 256> present{};
    for (int y = 0; y < values.rows; ++y) {
      for (int x = 0; x < values.cols; ++x) present[values.at<uchar>(y, x)] = true;
    }
    for (int value = 1; value < 256; ++value) {
      if (!present[value]) continue;
      categories.insert(std::to_string(value));
      labelled.masks[std::to_string(value)] = values == value;
    }
    images.push_back(std::move(labelled));
  }
  return images;
}

}  // namespace

ImageSet read_folder_set(const std::string& folder, std::size_t limit) {
  ImageSet set;
  set.name = fs::path(folder).filename().string();
  std::set<std::string> categories;
  set.train = read_part(fs::path(folder) / "train", limit, categories);
  set.test = read_part(fs::path(folder) / "test", limit, categories);
  set.categories.assign(categories.begin(), categories.end());
  return set;
}

}  // namespace telvar::bench
