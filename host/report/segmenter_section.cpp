#include <opencv2/imgproc.hpp>

#include "app/text.h"
#include "images/codecs/codecs.h"
#include "images/read_image.h"
#include "images/resize.h"
#include "report/annotate.h"
#include "report/charts.h"
#include "report/sections.h"

namespace telvar_host {
namespace {

const cv::Scalar kMissed(233, 180, 86);  // light blue, BGR
const cv::Scalar kExtra(0, 94, 213);     // vermilion

// The image, what it should be, what was found, and the pixels that differ, side by side.
cv::Mat comparison(const SegmenterMistake& mistake) {
  const cv::Mat shown = displayable(read_image(mistake.item.file));
  Probabilities truth;
  Probabilities answers;
  cv::Mat difference = shown * 0.4;  // dark, so that single pixels stand out
  for (const auto& [category, png] : mistake.answer) {
    const auto answer = answers[category] = decode_image(png);
    truth[category] = truth_of(mistake.item, category, shown.size());
    difference.setTo(kMissed, truth[category] & ~answer);
    difference.setTo(kExtra, answer & ~truth[category]);
  }
  std::vector<cv::Mat> panels;
  for (const cv::Mat& panel :
       {shown, drawn_segments(shown, truth, {}), drawn_segments(shown, answers, {}), difference}) {
    panels.push_back(shrunk(drawn_large(panel), 360));
    panels.emplace_back(panels.back().rows, 6, CV_8UC3, cv::Scalar::all(255));
  }
  panels.pop_back();
  cv::Mat row;
  cv::hconcat(panels, row);
  return row;
}

std::string curve_of(const SegmenterEvaluation& evaluation) {
  Curve curve;
  Curve middle;  // the ends fall to nothing, and would hide what matters
  for (int threshold = 1; threshold <= 255; ++threshold) {
    curve.emplace_back(threshold, evaluation.mean_iou(threshold).value_or(0));
    if (threshold >= 32 && threshold <= 224) middle.push_back(curve.back());
  }
  return "<h3>Mean IoU by threshold (128 counts)</h3>" +
         curve_html(curve, {"probability from which a pixel counts as found (0 to 255)", 0, 255, 0},
                    {"mean IoU", lower_bound_for(middle), 1, 2}, 128);
}

std::string categories_html(const SegmenterEvaluation& evaluation) {
  std::vector<Bar> bars;
  for (const auto& [category, overlap] : evaluation.overlap) {
    const auto iou = overlap.iou();
    bars.push_back({category, iou.value_or(0), iou ? fixed(*iou, 4) : "occurs nowhere",
                    category_css(bars.size())});
  }
  return "<h3>Intersection over union by category</h3>" + bars_html(bars);
}

std::string mistakes_html(const SegmenterEvaluation& evaluation) {
  if (evaluation.mistakes.empty()) return "<p class=\"good\">Every pixel is right.</p>";
  std::string cards =
      "<p class=\"lead\">Image, truth, answer, and where they differ: <span class=\"swatch\" "
      "style=\"background:#56b4e9\"></span>missed <span class=\"swatch\" "
      "style=\"background:#d55e00\"></span>"
      "too much.</p><div class=\"cards wide\">";
  for (const auto& mistake : evaluation.mistakes) {
    cards += card_html(comparison(mistake), "IoU " + fixed(mistake.mean_iou, 3),
                       std::to_string(mistake.wrong_pixels) + " wrong pixels", mistake.item.id);
  }
  return details_html("Every image with a wrong pixel (" +
                          std::to_string(evaluation.mistakes.size()) + " of " +
                          std::to_string(evaluation.images) + "), worst first",
                      cards + "</div>", true);
}

}  // namespace

Section section_of(const SegmenterEvaluation& evaluation) {
  Section section{"segmenter", "Segmenter", "", {}, ""};
  const auto mean = evaluation.mean_iou();
  section.figures = {{mean ? fixed(*mean, 3) : "-", "mean IoU"},
                     {std::to_string(evaluation.images), "images"},
                     {std::to_string(evaluation.overlap.size()),
                      evaluation.overlap.size() == 1 ? "category" : "categories"},
                     {fixed(evaluation.timing.quantile(0.5), 1) + " ms", "per image, median"},
                     {fixed(evaluation.timing.quantile(0.95), 1) + " ms", "95th percentile"}};
  section.body = "<div class=\"columns\"><div>" + categories_html(evaluation) + "</div><div>" +
                 curve_of(evaluation) + "</div></div>" + mistakes_html(evaluation);
  return section;
}

}  // namespace telvar_host
