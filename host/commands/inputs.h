// The images that a command is to work on.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace telvar_host {

// Files as they are, of folders every image below, for "-" a path a line from standard input.
// Throws data_error for a folder that cannot be listed or holds no images.
std::vector<std::string> listed_images(const std::vector<std::string>& arguments);

struct ListedImage {
  std::string id;  // relative to the folder, UTF-8 with forward slashes
  std::filesystem::path file;
  std::uintmax_t bytes = 0;
};

// Every image below `folder`, sorted; of a segmenter's data set, or a part of it, those in images/.
// Throws data_error when there is none.
std::vector<ListedImage> images_in(const std::filesystem::path& folder);

}  // namespace telvar_host
