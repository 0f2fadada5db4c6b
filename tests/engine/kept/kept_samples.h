#pragma once

// What the kept samples were trained on and answer: state that an earlier version of the library
// wrote, which this one must load and answer alike.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "../classifier/drawn_images.h"
#include "../ocr/pages.h"
#include "../segmenter/scene.h"

namespace telvar::test {

inline PageSet kept_pages() {
  PageSet set;
  for (std::uint64_t page = 0; page < 3; ++page) {
    set.add("page-" + std::to_string(page), draw_page(page));
  }
  return set;
}

inline types::Image unseen_page() {
  return draw_page(77).image;
}

inline ImageSet kept_images() {
  ImageSet set;
  for (int kind = 0; kind < 3; ++kind) set.add(kind, 0, 8);
  return set;
}

inline types::Image unseen_image(int kind) {
  return draw_image(kind, 1000, 1, 8);
}

inline segmenter_test::Scenes kept_scenes() {
  return segmenter_test::make_scenes(4, 5, {"disc", "square"});
}

inline types::Image unseen_scene() {
  return segmenter_test::make_scenes(1, 99, {"disc", "square"}).images.begin()->second;
}

inline std::string read_file(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The pixels of all result images, category by category.
inline std::string pixels_of(const std::map<std::string, types::Image>& images) {
  std::string pixels;
  for (const auto& [category, image] : images) {
    pixels.append(image.pixels.begin(), image.pixels.end());
  }
  return pixels;
}

}  // namespace telvar::test
