#include "report/annotate.h"

#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>

#include "app/text.h"
#include "images/drawn_text.h"
#include "images/read_image.h"
#include "predictions/over_image.h"

namespace telvar_host {
namespace {

// Okabe and Ito's palette, made to be told apart by colour-blind readers; black and yellow left
// out.
struct Rgb {
  unsigned char r, g, b;
};
constexpr std::array<Rgb, 8> kPalette = {{{0, 114, 178},
                                          {213, 94, 0},
                                          {0, 158, 115},
                                          {204, 121, 167},
                                          {86, 180, 233},
                                          {230, 159, 0},
                                          {120, 94, 240},
                                          {100, 143, 60}}};

cv::Point rounded(const std::pair<double, double>& point) {
  return {cvRound(point.first), cvRound(point.second)};
}

std::pair<double, double> in_image(const std::optional<Region>& region, double u, double v) {
  return region ? region->to_image(u, v) : std::make_pair(u, v);
}

// A box of the region's pixels as a quadrilateral of the image.
void draw_box(cv::Mat& canvas, const std::optional<Region>& region, double left, double top,
              double right, double bottom, const cv::Scalar& colour, int thickness) {
  const std::vector<cv::Point> corners = {
      rounded(in_image(region, left, top)), rounded(in_image(region, right, top)),
      rounded(in_image(region, right, bottom)), rounded(in_image(region, left, bottom))};
  cv::polylines(canvas, corners, true, colour, thickness, cv::LINE_AA);
}

void draw_region(cv::Mat& canvas, const std::optional<Region>& region) {
  if (!region) return;
  draw_box(canvas, region, 0, 0, region->width - 1.0, region->height - 1.0, category_colour(5), 2);
}

std::string with_percent(const std::string& name, double share) {
  return isolated(name) + "  " + fixed(100 * share, 1) + " %";
}

}  // namespace

cv::Scalar category_colour(std::size_t index) {
  const auto& colour = kPalette[index % kPalette.size()];
  return {double(colour.b), double(colour.g), double(colour.r)};
}

std::string category_css(std::size_t index) {
  static constexpr char kDigits[] = "0123456789abcdef";
  const auto& colour = kPalette[index % kPalette.size()];
  std::string css = "#";
  for (const unsigned char value : {colour.r, colour.g, colour.b}) {
    css += kDigits[value >> 4];
    css += kDigits[value & 15];
  }
  return css;
}

cv::Mat drawn_reading(const cv::Mat& image, const Reading& reading,
                      const std::optional<Region>& region, const NominalSize& size) {
  cv::Mat canvas = displayable(image);
  draw_region(canvas, region);
  for (std::size_t i = 0; i < reading.lines.size(); ++i) {
    for (const auto index : reading.lines[i].characters) {
      const auto& c = reading.characters[index];
      draw_box(canvas, region, c.x - size.width / 2, c.y - size.height / 2, c.x + size.width / 2,
               c.y + size.height / 2, category_colour(i), 1);
      cv::circle(canvas, rounded(in_image(region, c.x, c.y)), 1, category_colour(1), cv::FILLED);
    }
  }
  return canvas;
}

cv::Mat drawn_large(const cv::Mat& image) {
  constexpr int kShortSide = 224, kLongSide = 2048;
  cv::Mat canvas = displayable(image);
  const auto [least, most] = std::minmax(canvas.cols, canvas.rows);
  const int scale = std::max(1, std::min(kShortSide / least, kLongSide / most));
  if (scale > 1) cv::resize(canvas, canvas, {}, scale, scale, cv::INTER_NEAREST);
  return canvas;
}

cv::Mat drawn_segments(const cv::Mat& image, const Probabilities& probabilities,
                       const std::optional<Region>& region) {
  cv::Mat canvas = displayable(image);
  std::size_t index = 0;
  for (const auto& entry : probabilities) {
    const auto colour = category_colour(index++);
    const cv::Mat found = over_image(entry.second, region, canvas.size()) >= 128;
    if (found.size() != canvas.size()) continue;
    cv::Mat tinted;
    cv::addWeighted(canvas, 0.6, cv::Mat(canvas.size(), canvas.type(), colour), 0.4, 0, tinted);
    tinted.copyTo(canvas, found);
    std::vector<std::vector<cv::Point>> outlines;
    cv::findContours(found, outlines, cv::RETR_LIST, cv::CHAIN_APPROX_NONE);
    cv::drawContours(canvas, outlines, -1, colour, 1, cv::LINE_AA);
  }
  draw_region(canvas, region);
  return canvas;
}

cv::Mat captioned(const cv::Mat& canvas, const std::vector<Caption>& captions) {
  constexpr int kMargin = 6, kSquare = 10, kTextLeft = 2 * kMargin + kSquare;
  std::vector<cv::Mat> texts;
  int width = canvas.cols, band = kMargin;
  for (const auto& caption : captions) {
    texts.push_back(drawn_text(caption.text));
    width = std::max(width, kTextLeft + texts.back().cols + kMargin);
    band += texts.back().rows + kMargin / 2;
  }
  cv::Mat shown;
  const auto dark = cv::Scalar::all(30);
  cv::copyMakeBorder(canvas, shown, 0, band, 0, width - canvas.cols, cv::BORDER_CONSTANT, dark);
  int top = canvas.rows + kMargin / 2;
  for (std::size_t i = 0; i < captions.size(); ++i) {
    const int middle = top + texts[i].rows / 2;
    cv::rectangle(shown, {kMargin, middle - kSquare / 2, kSquare, kSquare}, captions[i].colour,
                  cv::FILLED);
    cv::Mat place = shown({kTextLeft, top, texts[i].cols, texts[i].rows});
    cv::Mat cover;
    cv::cvtColor(texts[i], cover, cv::COLOR_GRAY2BGR);
    cv::add(place, cover * (225.0 / 255), place);  // white on the dark band
    top += texts[i].rows + kMargin / 2;
  }
  return shown;
}

cv::Mat drawn_prediction(const cv::Mat& image, const Prediction& prediction,
                         const std::optional<Region>& region, const NominalSize& size) {
  std::vector<Caption> captions;
  const auto caption = [&](const std::string& text) {
    captions.push_back({text, category_colour(captions.size())});
  };
  switch (prediction.tool) {
    case ToolKind::kClassifier: {
      const auto best = best_of(prediction.scores);
      caption(with_percent(best.categoryId, best.score));
      return captioned(drawn_large(image), captions);
    }
    case ToolKind::kOcr:
      for (const auto& line : prediction.reading.lines) caption(line.text);
      return captioned(drawn_large(drawn_reading(image, prediction.reading, region, size)),
                       captions);
    case ToolKind::kSegmenter:
      break;
  }
  for (const auto& [category, map] : prediction.maps) {
    const double found = cv::countNonZero(map >= 128);
    caption(with_percent(category, found / static_cast<double>(map.total())));
  }
  return captioned(drawn_large(drawn_segments(image, prediction.maps, region)), captions);
}

}  // namespace telvar_host
