#include "evaluation/segmenter_evaluation.h"

#include <algorithm>
#include <opencv2/core.hpp>
#include <set>

#include "app/errors.h"
#include "app/text.h"
#include "images/read_image.h"

namespace telvar_host {
namespace {

std::optional<double> mean_of(const std::map<std::string, Overlap>& overlaps, int threshold) {
  double sum = 0;
  int defined = 0;
  for (const auto& entry : overlaps) {
    if (const auto iou = entry.second.iou(threshold)) {
      sum += *iou;
      ++defined;
    }
  }
  if (defined == 0) return {};
  return sum / defined;
}

// What the model finds of a category that the data lacks is wrong, too.
std::set<std::string> categories_of(const SegmenterData& data, const Probabilities& probabilities) {
  std::set<std::string> categories(data.categories.begin(), data.categories.end());
  for (const auto& entry : probabilities) categories.insert(entry.first);
  return categories;
}

// A category the model does not know is found nowhere.
cv::Mat answer_of(const Probabilities& probabilities, const std::string& category,
                  const cv::Size& size) {
  const auto found = probabilities.find(category);
  return found == probabilities.end() ? cv::Mat(cv::Mat::zeros(size, CV_8U)) : found->second;
}

void count(SegmenterEvaluation& evaluation, const SegmenterItem& item, const SegmenterData& data,
           const Probabilities& probabilities, const cv::Size& size, bool with_report) {
  std::map<std::string, Overlap> here;
  SegmenterMistake mistake{item, 0, 0, {}};
  for (const auto& category : categories_of(data, probabilities)) {
    const auto answer = answer_of(probabilities, category, size);
    if (answer.size() != size) throw failure(utf8(item.file) + ": the result has another size");
    here[category].add(answer, truth_of(item, category, size));
    evaluation.overlap[category].add(here[category]);
    mistake.wrong_pixels += here[category].wrong_pixels();
  }
  ++evaluation.images;
  if (mistake.wrong_pixels == 0) return;
  mistake.mean_iou = mean_of(here, 128).value_or(0);
  for (const auto& entry : here) {
    if (!with_report) break;
    mistake.answer[entry.first] =
        encoded(answer_of(probabilities, entry.first, size) >= 128, ".png");
  }
  evaluation.mistakes.push_back(std::move(mistake));
}

}  // namespace

std::optional<double> SegmenterEvaluation::mean_iou(int threshold) const {
  return mean_of(overlap, threshold);
}

cv::Mat truth_of(const SegmenterItem& item, const std::string& category, const cv::Size& size) {
  const auto source = item.masks.find(category);
  if (source == item.masks.end()) return cv::Mat::zeros(size, CV_8U);
  auto mask = read_mask(source->second);
  if (mask.size() != size) {
    throw data_error(utf8(source->second.file) + ": is " + std::to_string(mask.cols) + " x " +
                     std::to_string(mask.rows) + ", its image " + std::to_string(size.width) +
                     " x " + std::to_string(size.height));
  }
  return mask;
}

SegmenterEvaluation evaluate(SegmenterTool& tool, const SegmenterData& data, Progress& progress,
                             bool with_report) {
  SegmenterEvaluation evaluation;
  for (const auto& category : data.categories) evaluation.overlap[category];
  progress.start("evaluating", data.items.size());
  for (const auto& item : data.items) {
    const auto image = read_image(item.file);
    // The first call builds the model, which is not what an image costs.
    if (evaluation.images == 0) tool.process(image);
    const auto answer = evaluation.timing.measure([&] { return tool.process(image); });
    count(evaluation, item, data, answer, image.size(), with_report);
    progress.step();
  }
  progress.finish();
  std::stable_sort(evaluation.mistakes.begin(), evaluation.mistakes.end(),
                   [](const auto& a, const auto& b) { return a.mean_iou < b.mean_iou; });
  return evaluation;
}

Json json_of(const SegmenterEvaluation& evaluation) {
  Json json;
  const auto mean = evaluation.mean_iou();
  json["mean_iou"] = mean ? Json(*mean) : Json(nullptr);
  json["iou"] = Json::object();
  for (const auto& [category, overlap] : evaluation.overlap) {
    const auto iou = overlap.iou();
    json["iou"][category] = iou ? Json(*iou) : Json(nullptr);
  }
  json["threshold"] = 128;
  json["counts"] = {{"images", evaluation.images},
                    {"images_with_wrong_pixels", evaluation.mistakes.size()}};
  json["milliseconds_median"] = evaluation.timing.quantile(0.5);
  json["milliseconds_p95"] = evaluation.timing.quantile(0.95);
  json["mistakes"] = Json::array();
  for (const auto& mistake : evaluation.mistakes) {
    json["mistakes"].push_back({{"file", mistake.item.id},
                                {"mean_iou", mistake.mean_iou},
                                {"wrong_pixels", mistake.wrong_pixels}});
  }
  return json;
}

}  // namespace telvar_host
