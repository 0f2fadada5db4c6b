#include "predictions/drawn_characters.h"

#include <algorithm>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "app/errors.h"
#include "app/text.h"
#include "images/drawn_text.h"
#include "images/read_image.h"

namespace telvar_host {
namespace {

constexpr const char* kFonts[] = {"Sans 48",      "Serif 48",      "Monospace 48",
                                  "Sans Bold 48", "Serif Bold 48", "Monospace Bold 48"};
#ifdef TELVAR_PANGO
constexpr bool kDrawsAnyScript = true;
#else
constexpr bool kDrawsAnyScript = false;
#endif

constexpr int kPerLine = 8;
constexpr int kMostLines = 6;           // of an image
constexpr int kPaper = 200, kInk = 50;  // gray values

// A letter may be wider than the nominal character: the width it is given room for, at least, as a
// share of the height; the distance of characters, as a multiple of that; the distance of lines, as
// a multiple of the height. Characters must not touch, so that each stands in a place of its own.
constexpr float kWidest = 0.7f, kSpacing = 1.35f, kLineSpacing = 2.0f;

// Characters of one font, scaled so that its capital letters have the nominal height.
class Glyphs {
 public:
  Glyphs(const char* font, const NominalSize& size) : font_(font) {
    const cv::Rect capital = cv::boundingRect(drawn_text("H", font));
    scale_ = size.height / std::max(1, capital.height);
  }

  // The character, cut to its ink; empty without any. `below` becomes the distance from the line's
  // top to the end of the ink.
  cv::Mat draw(const std::string& character, double& below) const {
    const cv::Mat drawn = drawn_text(character, font_);
    const cv::Rect ink = cv::boundingRect(drawn);
    if (ink.area() == 0) return {};
    below = (ink.y + ink.height) * scale_;
    cv::Mat scaled;
    const cv::Size to(std::max(1, cvRound(ink.width * scale_)),
                      std::max(1, cvRound(ink.height * scale_)));
    cv::resize(drawn(ink), scaled, to, 0, 0, cv::INTER_AREA);
    return scaled;
  }

 private:
  std::string font_;
  double scale_ = 1;
};

// One image of characters in one font.
class Page {
 public:
  Page(const char* font, const NominalSize& size, int lines)
      : glyphs_(font, size),
        step_(std::max(size.width, size.height * kWidest) * kSpacing),
        line_(size.height * kLineSpacing),
        paper_(cvRound(line_ * (lines + 1)), cvRound(step_ * (kPerLine + 1)), CV_8U,
               cv::Scalar(kPaper)) {}

  // Draws a character in cell `column` of line `row`; leaves it out where it has no ink or does not
  // fit on the page.
  void add(const std::string& character, int row, int column) {
    double below = 0;
    const cv::Mat ink = glyphs_.draw(character, below);
    if (ink.empty()) return;
    const int left = cvRound(step_ * (column + 1) - ink.cols / 2.0);
    const int top = cvRound(line_ * (row + 0.3) + below) - ink.rows;
    const cv::Rect place(left, top, ink.cols, ink.rows);
    if ((place & cv::Rect({0, 0}, paper_.size())) != place) return;
    cv::Mat cell = paper_(place);
    cv::Mat covered;
    ink.convertTo(covered, CV_8U, (kPaper - kInk) / 255.0);
    cell -= covered;
    characters_.push_back({left + (ink.cols - 1) / 2.0, top + (ink.rows - 1) / 2.0, character});
  }

  // The page as a camera would see it: a little blurred and noisy, by amounts that no camera's
  // image goes below.
  cv::Mat image(cv::RNG& random) const {
    cv::Mat noise(paper_.size(), CV_16S), image;
    random.fill(noise, cv::RNG::NORMAL, 0, 4);
    cv::GaussianBlur(paper_, image, {3, 3}, 0.6);
    cv::add(image, noise, image, cv::noArray(), CV_8U);
    return image;
  }

  const std::vector<CharacterMark>& characters() const { return characters_; }

 private:
  Glyphs glyphs_;
  float step_, line_;
  cv::Mat paper_;
  std::vector<CharacterMark> characters_;
};

void write(const std::filesystem::path& file, const cv::Mat& image) {
  const auto bytes = encoded(image, ".png");
  std::ofstream stream(file, std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream)
    throw failure("cannot write images of characters into the folder for temporary files");
}

}  // namespace

OcrData drawn_characters(const std::vector<std::string>& characters, const NominalSize& size,
                         const std::filesystem::path& folder) {
  OcrData data;
  data.size = size;
  if (!kDrawsAnyScript) return data;
  cv::RNG random(0x7465'7874);
  for (const char* font : kFonts) {
    auto order = characters;
    for (std::size_t i = order.size(); i > 1; --i) {
      std::swap(order[i - 1], order[random.uniform(0, static_cast<int>(i))]);
    }
    constexpr std::size_t kPerPage = std::size_t{kPerLine} * kMostLines;
    for (std::size_t first = 0; first < order.size(); first += kPerPage) {
      const auto count = static_cast<int>(std::min(order.size() - first, kPerPage));
      Page page(font, size, (count + kPerLine - 1) / kPerLine);
      for (int i = 0; i < count; ++i) page.add(order[first + i], i / kPerLine, i % kPerLine);
      if (page.characters().empty()) continue;
      OcrItem item;
      item.id = std::to_string(data.items.size()) + ".png";
      item.file = folder / item.id;
      item.characters = page.characters();
      write(item.file, page.image(random));
      data.items.push_back(std::move(item));
    }
  }
  return data;
}

}  // namespace telvar_host
