#include "report/html.h"

#include "app/base64.h"
#include "app/text.h"
#include "images/read_image.h"
#include "report/style.h"

namespace telvar_host {
namespace {

std::string figures_html(const std::vector<Figure>& figures) {
  std::string html = "<div class=\"figures\">";
  for (const auto& figure : figures) {
    html += "<div class=\"figure\"><b>" + html_escaped(figure.value) + "</b><span>" +
            html_escaped(figure.label) + "</span></div>";
  }
  return html + "</div>\n";
}

std::string section_html(const Section& section) {
  std::string html =
      "<section id=\"" + section.id + "\"><h2>" + html_escaped(section.title) + "</h2>\n";
  if (!section.lead.empty()) html += "<p class=\"lead\">" + html_escaped(section.lead) + "</p>\n";
  return html + figures_html(section.figures) + section.body + "</section>\n";
}

}  // namespace

std::string image_html(const cv::Mat& image, const std::string& alt) {
  constexpr std::size_t kSmall = 128 * std::size_t{128};  // pixels: PNG keeps them sharp
  const bool small = image.total() < kSmall;
  const auto bytes = encoded(image, small ? ".png" : ".jpg");
  return std::string("<img loading=\"lazy\" ") + (small ? "class=\"sharp\" " : "") + "width=\"" +
         std::to_string(image.cols) + "\" height=\"" + std::to_string(image.rows) + "\" alt=\"" +
         html_escaped(alt) + "\" src=\"data:image/" + (small ? "png" : "jpeg") + ";base64," +
         to_base64(bytes) + "\">";
}

std::string file_html(const std::string& file) {
  std::string html = "<span class=\"file\">";
  for (const char c : file)
    html += c == '/' ? std::string("/<wbr>") : html_escaped(std::string(1, c));
  return html + "</span>";
}

std::string card_html(const cv::Mat& image, const std::string& headline, const std::string& detail,
                      const std::string& file, const std::string& css_class) {
  return "<div class=\"card " + css_class + "\">" + image_html(image, headline) + "<div><b>" +
         html_escaped(headline) + "</b><span>" + html_escaped(detail) + "</span>" +
         file_html(file) + "</div></div>\n";
}

std::string details_html(const std::string& summary, const std::string& body, bool open) {
  return std::string("<details") + (open ? " open" : "") + "><summary>" + html_escaped(summary) +
         "</summary>\n" + body + "</details>\n";
}

std::string page_html(const std::string& title, const std::string& lead,
                      const std::vector<Section>& sections) {
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
      "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\"><title>" +
      html_escaped(title) + "</title>\n<style>" + kStyle +
      "</style></head>\n<body><main>\n<header><h1>" + html_escaped(title) + "</h1><p>" +
      html_escaped(lead) + "</p></header>\n";
  if (sections.size() > 1) {
    html += "<nav>";
    for (const auto& section : sections) {
      html += "<a href=\"#" + section.id + "\">" + html_escaped(section.title) + "</a>";
    }
    html += "</nav>\n";
  }
  for (const auto& section : sections) html += section_html(section);
  return html + "</main></body></html>\n";
}

}  // namespace telvar_host
