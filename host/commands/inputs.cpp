#include "commands/inputs.h"

#include <algorithm>
#include <iostream>

#include "app/errors.h"
#include "app/text.h"
#include "datasets/layout.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

void add_lines(std::vector<std::string>& images) {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) images.push_back(line);
  }
}

void add_folder(const fs::path& folder, std::vector<std::string>& images) {
  for (const auto& image : images_in(folder)) images.push_back(utf8(image.file));
}

// Takes only images/ of a segmenter's data set, or of a part of one: masks are no inputs.
std::vector<fs::path> image_folders(const fs::path& folder) {
  std::vector<fs::path> folders;
  for (const auto& part : parts_for(folder, Purpose::kAll)) {
    if (!is_folder(part.folder / "images") || !is_folder(part.folder / "masks")) return {folder};
    folders.push_back(part.folder / "images");
  }
  return folders;
}

std::uintmax_t size_of(const fs::path& file) {
  std::error_code lost;
  const auto size = fs::file_size(file, lost);
  return lost ? 0 : size;
}

}  // namespace

std::vector<std::string> listed_images(const std::vector<std::string>& arguments) {
  std::vector<std::string> images;
  for (const auto& argument : arguments) {
    if (argument == "-") {
      add_lines(images);
    } else if (is_folder(path_from_utf8(argument))) {
      add_folder(path_from_utf8(argument), images);
    } else {
      images.push_back(argument);
    }
  }
  return images;
}

std::vector<ListedImage> images_in(const fs::path& folder) {
  if (is_file(folder)) {
    throw data_error(utf8(folder) +
                     ": is a file, not a folder; telvar process takes single images");
  }
  require_folder(folder);
  Problems problems;
  std::vector<fs::path> files;
  for (const auto& below : image_folders(folder)) {
    const auto found = images_below(below, problems);
    files.insert(files.end(), found.begin(), found.end());
  }
  problems.throw_if_any();
  std::sort(files.begin(), files.end());
  if (files.empty()) throw data_error(utf8(folder) + ": holds no images");
  std::vector<ListedImage> images;
  images.reserve(files.size());
  for (const auto& file : files) images.push_back({identifier(file, folder), file, size_of(file)});
  return images;
}

}  // namespace telvar_host
