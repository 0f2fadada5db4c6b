#include "evaluation/classifier_evaluation.h"

#include <algorithm>
#include <functional>

#include "images/read_image.h"

namespace telvar_host {
namespace {

void count(ClassifierEvaluation& evaluation, const ClassifierItem& item, const Scores& scores) {
  const auto best = best_of(scores);
  const bool right = best.categoryId == item.category;
  ++evaluation.images;
  ++evaluation.confusion[item.category][best.categoryId];
  evaluation.answers.emplace_back(best.score, right);
  const bool known = std::any_of(scores.begin(), scores.end(), [&](const CategoryScore& score) {
    return score.categoryId == item.category;
  });
  if (!known) evaluation.foreign_scores.push_back(best.score);
  if (right) {
    ++evaluation.right;
  } else {
    evaluation.mistakes.push_back({item, best.categoryId, best.score});
  }
}

}  // namespace

std::vector<std::pair<double, double>> ClassifierEvaluation::accuracy_by_coverage() const {
  auto sorted = answers;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<std::pair<double, double>> curve;
  double right_so_far = 0;
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    right_so_far += sorted[i].second ? 1 : 0;
    const auto answered = static_cast<double>(i + 1);
    curve.emplace_back(answered / static_cast<double>(sorted.size()), right_so_far / answered);
  }
  return curve;
}

std::vector<std::pair<double, double>> ClassifierEvaluation::foreign_curve() const {
  if (foreign_scores.empty() || right == 0) return {};
  auto foreign = foreign_scores;
  std::vector<double> rights;
  for (const auto& [score, is_right] : answers) {
    if (is_right) rights.push_back(score);
  }
  std::sort(foreign.begin(), foreign.end(), std::greater<>());
  std::sort(rights.begin(), rights.end(), std::greater<>());
  std::vector<std::pair<double, double>> curve;
  std::size_t through = 0;
  for (std::size_t i = 0; i < rights.size(); ++i) {
    if (i + 1 < rights.size() && rights[i + 1] == rights[i]) continue;  // one least score
    while (through < foreign.size() && foreign[through] >= rights[i]) ++through;
    curve.emplace_back(static_cast<double>(i + 1) / static_cast<double>(rights.size()),
                       static_cast<double>(through) / static_cast<double>(foreign.size()));
  }
  return curve;
}

ClassifierEvaluation evaluate(ClassifierTool& tool, const ClassifierData& data,
                              Progress& progress) {
  ClassifierEvaluation evaluation;
  progress.start("evaluating", data.items.size());
  for (const auto& item : data.items) {
    const auto image = read_image(item.file);
    // The first call builds the model, which is not what an image costs.
    if (evaluation.images == 0) tool.process(image);
    count(evaluation, item, evaluation.timing.measure([&] { return tool.process(image); }));
    progress.step();
  }
  progress.finish();
  std::stable_sort(evaluation.mistakes.begin(), evaluation.mistakes.end(),
                   [](const auto& a, const auto& b) { return a.score > b.score; });
  return evaluation;
}

Json json_of(const ClassifierEvaluation& evaluation) {
  Json json;
  json["accuracy"] = evaluation.accuracy();
  json["confusion"] = evaluation.confusion;
  json["counts"] = {{"images", evaluation.images},
                    {"right", evaluation.right},
                    {"wrong", evaluation.mistakes.size()}};
  const auto curve = evaluation.foreign_curve();
  if (!curve.empty()) json["foreign_curve"] = curve;
  json["milliseconds_median"] = evaluation.timing.quantile(0.5);
  json["milliseconds_p95"] = evaluation.timing.quantile(0.95);
  json["mistakes"] = Json::array();
  for (const auto& mistake : evaluation.mistakes) {
    json["mistakes"].push_back({{"file", mistake.item.id},
                                {"expected", mistake.item.category},
                                {"answer", mistake.answer},
                                {"score", mistake.score}});
  }
  return json;
}

}  // namespace telvar_host
