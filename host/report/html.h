// A report page that needs nothing but itself: styles, images and curves are inside.
#pragma once

#include <opencv2/core/mat.hpp>
#include <string>
#include <utility>
#include <vector>

namespace telvar_host {

struct Figure {
  std::string value;  // "97.3 %"
  std::string label;
};

struct Section {
  std::string id;
  std::string title;
  std::string lead;  // a sentence under the title; plain text
  std::vector<Figure> figures;
  std::string body;  // HTML
};

// The whole document, UTF-8. `title` and `lead` are plain text.
std::string page_html(const std::string& title, const std::string& lead,
                      const std::vector<Section>& sections);

// <img> with the image inside: PNG for small images, which stay sharp, JPEG for large ones.
std::string image_html(const cv::Mat& image, const std::string& alt);

// A card with an image, a headline, a line of detail and the image's file; all plain text.
std::string card_html(const cv::Mat& image, const std::string& headline, const std::string& detail,
                      const std::string& file, const std::string& css_class = "");

// A file's name, small; it may break after each slash.
std::string file_html(const std::string& file);

// A disclosure that is open or closed at first. `body` is HTML.
std::string details_html(const std::string& summary, const std::string& body, bool open);

}  // namespace telvar_host
