#include "predictions/prediction.h"

#include <algorithm>
#include <opencv2/core.hpp>

#include "app/text.h"

namespace telvar_host {
namespace {

double decidedness(const cv::Mat& probability) {
  double sum = 0;
  std::size_t pixels = 0;
  for (int y = 0; y < probability.rows; ++y) {
    const auto* row = probability.ptr<unsigned char>(y);
    for (int x = 0; x < probability.cols; ++x) {
      if (row[x] < 64) continue;
      sum += std::abs(2.0 * row[x] / 255 - 1);
      ++pixels;
    }
  }
  return pixels == 0 ? 1 : sum / static_cast<double>(pixels);
}

Json scores_json(const Scores& scores) {
  const auto best = best_of(scores);
  Json json = {{"category", best.categoryId}, {"score", best.score}, {"scores", Json::object()}};
  for (const auto& score : scores) json["scores"][score.categoryId] = score.score;
  return json;
}

Json maps_json(const Probabilities& maps) {
  Json json = {{"categories", Json::object()}};
  for (const auto& [category, probability] : maps) {
    const auto pixels = cv::countNonZero(probability >= 128);
    json["categories"][category] = {{"pixels", pixels},
                                    {"share", pixels / static_cast<double>(probability.total())},
                                    {"mean_probability", cv::mean(probability)[0] / 255}};
  }
  return json;
}

Json reading_json(const Reading& reading) {
  Json json = {{"text", reading.texts()}};
  if (!reading.pattern.empty()) json["pattern"] = reading.pattern;
  json["mean_score"] = reading.mean_score;
  json["lowest_score"] = reading.lowest_score;
  json["characters"] = Json::array();
  for (const auto& c : reading.characters) {
    json["characters"].push_back({{"x", c.x},
                                  {"y", c.y},
                                  {"category", c.category},
                                  {"score", c.score},
                                  {"strength", c.strength}});
  }
  json["lines"] = Json::array();
  for (const auto& line : reading.lines) {
    json["lines"].push_back({{"text", line.text}, {"characters", line.characters}});
  }
  return json;
}

std::string scores_text(const Json& scores) {
  std::vector<std::pair<std::string, double>> sorted;
  for (const auto& [category, score] : scores.items()) sorted.emplace_back(category, score);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text;
  for (std::size_t i = 0; i < std::min<std::size_t>(3, sorted.size()); ++i) {
    text += "  " + padded(sorted[i].first, 24) + " " + fixed(100 * sorted[i].second, 1) + " %\n";
  }
  return text;
}

std::string categories_text(const Json& categories) {
  std::string text;
  for (const auto& [category, found] : categories.items()) {
    text += "  " + padded(category, 24) + " " + found["pixels"].dump() + " pixels, " +
            fixed(100 * found["share"].get<double>(), 2) + " %\n";
  }
  return text;
}

std::string reading_text(const Json& json) {
  std::string text;
  for (const auto& line : json["lines"]) {
    double lowest = line["characters"].empty() ? 0 : 1;
    for (const std::size_t index : line["characters"]) {
      lowest = std::min(lowest, json["characters"][index]["score"].get<double>());
    }
    text +=
        "  " + padded(fixed(100 * lowest, 0) + " %", 6) + line["text"].get<std::string>() + "\n";
  }
  if (json["lines"].empty()) text = "  nothing read\n";
  if (json.contains("pattern")) text += "  pattern " + json["pattern"].get<std::string>() + "\n";
  return text;
}

}  // namespace

double certainty_of(const Prediction& prediction) {
  switch (prediction.tool) {
    case ToolKind::kClassifier:
      return best_of(prediction.scores).score;
    case ToolKind::kOcr:
      return prediction.reading.characters.empty() ? 0 : prediction.reading.lowest_score;
    case ToolKind::kSegmenter:
      break;
  }
  double least = 1;
  for (const auto& map : prediction.maps) least = std::min(least, decidedness(map.second));
  return least;
}

Json json_of(const Prediction& prediction) {
  Json json;
  switch (prediction.tool) {
    case ToolKind::kClassifier:
      json = scores_json(prediction.scores);
      break;
    case ToolKind::kSegmenter:
      json = maps_json(prediction.maps);
      break;
    case ToolKind::kOcr:
      json = reading_json(prediction.reading);
      break;
  }
  json["certainty"] = certainty_of(prediction);
  return json;
}

std::string text_of(const Json& prediction) {
  if (prediction.contains("error")) {
    return "  error: " + prediction["error"].get<std::string>() + "\n";
  }
  if (prediction.contains("scores")) return scores_text(prediction["scores"]);
  if (prediction.contains("lines")) return reading_text(prediction);
  return categories_text(prediction["categories"]);
}

}  // namespace telvar_host
