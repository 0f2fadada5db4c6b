#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "app/text.h"
#include "images/read_image.h"
#include "images/resize.h"
#include "metrics/text_metrics.h"
#include "report/annotate.h"
#include "report/charts.h"
#include "report/sections.h"

namespace telvar_host {
namespace {

std::string percent(const std::optional<double>& share, int digits) {
  return share ? fixed(100 * *share, digits) + " %" : "-";
}

// The region's pixels in `box`, upright.
cv::Mat cut_out(const cv::Mat& image, const OcrItem& item, const cv::Rect2d& box) {
  const auto in_image = [&](double u, double v) {
    const auto point = item.region ? item.region->to_image(u, v) : std::make_pair(u, v);
    return cv::Point2f(static_cast<float>(point.first), static_cast<float>(point.second));
  };
  const cv::Size size(std::max(1, cvRound(box.width)), std::max(1, cvRound(box.height)));
  const cv::Point2f from[] = {in_image(box.x, box.y), in_image(box.x + size.width, box.y),
                              in_image(box.x, box.y + size.height)};
  const cv::Point2f to[] = {{0, 0}, {float(size.width), 0}, {0, float(size.height)}};
  cv::Mat cut;
  cv::warpAffine(image, cut, cv::getAffineTransform(from, to), size, cv::INTER_LINEAR,
                 cv::BORDER_REPLICATE);
  return cut;
}

cv::Rect2d with_margin(cv::Rect2d box, double x, double y) {
  return {box.x - x, box.y - y, box.width + 2 * x, box.height + 2 * y};
}

// A line with half a character around it; a single mark with three characters of its neighbourhood
// and a frame; the whole region when the place is unknown.
cv::Mat evidence(const ReaderMistake& mistake, const OcrItem& item, const NominalSize& size) {
  const cv::Mat shown = displayable(read_image(item.file));
  if (!mistake.place) {
    const cv::Rect2d whole = item.region ? cv::Rect2d(0, 0, item.region->width, item.region->height)
                                         : cv::Rect2d(0, 0, shown.cols, shown.rows);
    return shrunk(cut_out(shown, item, whole), 480);
  }
  const auto& place = *mistake.place;
  if (!item.partial) {
    return shrunk(cut_out(shown, item, with_margin(place, size.width, size.height / 2)), 1000);
  }
  cv::Mat cut = cut_out(shown, item, with_margin(place, 3 * size.width, size.height / 2));
  const int scale = std::max(1, cvRound(120.0 / std::max(1, cut.rows)));
  cv::resize(cut, cut, {}, scale, scale, cv::INTER_CUBIC);
  cv::rectangle(cut,
                cv::Rect(cvRound(3 * size.width * scale), cvRound(size.height / 2 * scale),
                         cvRound(place.width * scale), cvRound(place.height * scale)),
                category_colour(1), 2);
  return cut;
}

// Both texts under each other, differing letters marked.
std::string texts_html(const ReaderMistake& mistake) {
  std::string expected;
  std::string read;
  for (const auto& [want, have] :
       edit_script(letters_of(mistake.expected), letters_of(mistake.read))) {
    const bool same = want == have;
    const auto marked = [&](const std::string& letter) {
      const auto shown = letter.empty() ? std::string("·") : html_escaped(letter);
      return same ? shown : "<span class=\"miss\">" + shown + "</span>";
    };
    expected += marked(want);
    read += marked(have);
  }
  return "<div class=\"text\">expected " + expected + "\nread     " + read + "</div>";
}

std::string mistakes_html(const ReaderEvaluation& evaluation, const OcrData& data,
                          const NominalSize& size) {
  if (evaluation.mistakes.empty()) {
    return "<p class=\"good\">Everything that is marked was read right.</p>";
  }
  const bool short_ones = std::all_of(evaluation.mistakes.begin(), evaluation.mistakes.end(),
                                      [&](const auto& m) { return data.items[m.item].partial; });
  std::string cards = short_ones ? "<div class=\"cards medium\">" : "<div class=\"cards wide\">";
  for (const auto& mistake : evaluation.mistakes) {
    const auto& item = data.items[mistake.item];
    cards += "<div class=\"card\">" + image_html(evidence(mistake, item, size), mistake.expected) +
             "<div>" + texts_html(mistake) + file_html(item.id) + "</div></div>\n";
  }
  return details_html("Everything that was read wrong (" +
                          std::to_string(evaluation.mistakes.size()) + "), worst first",
                      cards + "</div>", true);
}

std::string confusions_html(const ReaderEvaluation& evaluation) {
  if (evaluation.confused.empty()) return "";
  std::vector<std::pair<std::size_t, std::pair<std::string, std::string>>> sorted;
  for (const auto& [pair, count] : evaluation.confused) sorted.emplace_back(count, pair);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  const auto shown = [](const std::string& letter) { return letter.empty() ? "nothing" : letter; };
  std::vector<Bar> bars;
  for (const auto& [count, pair] : sorted) {
    if (bars.size() == 20) break;
    bars.push_back({shown(pair.first) + " read as " + shown(pair.second),
                    static_cast<double>(count) / static_cast<double>(sorted.front().first),
                    std::to_string(count), ""});
  }
  return "<h3>What was taken for what</h3>" + bars_html(bars);
}

// Errors among what is accepted, when the images of least certainty are rejected first.
std::string rejects_html(const ReaderEvaluation& evaluation) {
  const auto curve = reject_curve(evaluation);
  if (curve.size() < 2) return "";  // all images have one score
  const double all = curve.front().second;
  const Axis shares{"share of images rejected, lowest score first", 0, 1, 2};
  const Axis errors{"character error rate of the rest", 0, std::max(all, 0.001) * 1.1, 3};
  return "<h3>Errors left when doubtful images are rejected</h3>" +
         curve_html(curve, shares, errors) +
         "<p>Images are rejected by <code>lowest_score</code>, as <code>--below</code> sorts them "
         "out. At the left nothing is rejected.</p>\n";
}

std::string readings_html(const ReaderEvaluation& evaluation, const OcrData& data,
                          const NominalSize& size) {
  constexpr std::size_t kShown = 6;
  std::string html;
  for (std::size_t i = 0; i < std::min(kShown, data.items.size()); ++i) {
    const auto& item = data.items[i];
    const auto drawn =
        drawn_reading(read_image(item.file), evaluation.readings[i], item.region, size);
    std::string text;
    for (const auto& line : evaluation.readings[i].lines) text += line.text + "\n";
    html += "<h3>" + html_escaped(item.id) + "</h3><div class=\"columns\"><div class=\"page\">" +
            image_html(shrunk(drawn, 1400), "characters found in " + item.id) +
            "</div><div class=\"text\">" + html_escaped(text) + "</div></div>\n";
  }
  const auto title = data.items.size() > kShown
                         ? "The first " + std::to_string(kShown) + " of " +
                               std::to_string(data.items.size()) + " images as they were read"
                         : std::string("The images as they were read");
  return details_html(title, html, true);
}

}  // namespace

Section section_of(const ReaderEvaluation& evaluation, const OcrData& data,
                   const NominalSize& size) {
  Section section{"ocr", "Character reader", "", {}, ""};
  section.figures = {{percent(evaluation.character_error_rate(), 2), "character error rate"},
                     {std::to_string(evaluation.characters), "true characters"},
                     {std::to_string(evaluation.character_errors), "character errors"},
                     {fixed(evaluation.timing.quantile(0.5), 0) + " ms", "per image, median"},
                     {fixed(evaluation.timing.quantile(0.95), 0) + " ms", "95th percentile"}};
  if (evaluation.exact_line_rate()) {
    section.figures.insert(section.figures.begin() + 1,
                           {percent(evaluation.exact_line_rate(), 1), "lines read exactly"});
  }
  section.body = "<div class=\"columns\"><div>" + confusions_html(evaluation) + "</div><div>" +
                 rejects_html(evaluation) + "</div></div>" + mistakes_html(evaluation, data, size) +
                 readings_html(evaluation, data, size);
  return section;
}

}  // namespace telvar_host
